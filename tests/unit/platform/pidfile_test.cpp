#include "platform/base/lockfile.h"
#include "platform/base/pidfile.h"

#include "tests/unit/support/child.h"
#include "tests/unit/support/folder.h"
#include "tests/unit/support/logcapture.h"
#include "vadro/daemon.h"

#include <atomic>
#include <limits>
#include <list>

#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace std::string_literals;

namespace
{

// A PID file in a temporary folder, with the log captured.
class PidFileTest : public testing::Test
{
protected:
    PidFileTest() { VADRO_Daemon_construct(&m_oDaemon, "quorvad", (m_oFolder / "").c_str()); }

    static std::string lineOf(pid_t a_iPid) { return std::to_string(a_iPid) + "\n"; }
    void put(const std::string& a_strContents) { std::ofstream(m_oDaemon.m_strPidFile) << a_strContents; }
    std::string contents() { return contentOf(m_oDaemon.m_strPidFile); }
    auto countFiles() { return std::distance(std::filesystem::directory_iterator(m_oFolder / ""), {}); }
    // A start must replace whatever a_oPut leaves there.
    void expectStale(const std::function<void()>& a_oPut)
    {
        a_oPut();
        EXPECT_EQ(0, VADRO_Daemon_occupiedPidFile(&m_oDaemon));
        VADRO_Daemon_deletePidFile(&m_oDaemon);
        EXPECT_NE(0, VADRO_Daemon_createPidFile(&m_oDaemon));
        EXPECT_EQ(lineOf(getpid()), contents());
        VADRO_Daemon_deletePidFile(&m_oDaemon);
    }

    LogCapture m_oCapture;
    Folder m_oFolder;
    VADRO_Daemon m_oDaemon;
};

} // namespace

TEST(ParsePid, OnlyOnePositiveNumberAndALineFeed)
{
    using platform::parsePid;
    EXPECT_EQ(1, parsePid("1\n"));
    EXPECT_EQ(std::numeric_limits<pid_t>::max(), parsePid("2147483647\n"));
    for (const std::string& strContents :
         {""s,      "\n"s,    "1"s,     "0\n"s,   "-1\n"s,   "+1\n"s,         " 1\n"s,
          "1 \n"s,  "01\n"s,  "1\n\n"s, "1\r\n"s, "1\n2\n"s, "2147483648\n"s, "4294967297\n"s,
          "0x1\n"s, "1e3\n"s, "one\n"s, "\0\n"s,  "1\0\n"s,  "\xff\n"s,       "18446744073709551617\n"s})
    {
        EXPECT_FALSE(parsePid(strContents)) << strContents;
    }
}

TEST(ParseProcessState, CommandMayHoldAnything)
{
    using platform::parseProcessState;
    EXPECT_EQ('S', parseProcessState("12 (a b) S 1 1"));
    EXPECT_EQ('R', parseProcessState("12 (x) Z (y) R 1 (1"));
    for (const char* pContents : {"", "12", "12 (a", "12 (a)", "12 (a) ", ") (", "12 () "})
    {
        EXPECT_FALSE(parseProcessState(pContents)) << pContents;
    }
}

TEST_F(PidFileTest, IsCreatedOnceAndDeleted)
{
    const mode_t iOldMask = umask(0777);
    EXPECT_NE(0, VADRO_Daemon_createPidFile(&m_oDaemon));
    umask(iOldMask);
    EXPECT_EQ(std::filesystem::perms(0644), std::filesystem::status(m_oDaemon.m_strPidFile).permissions());
    EXPECT_EQ(lineOf(getpid()), contents());
    EXPECT_EQ(0, VADRO_Daemon_occupiedPidFile(&m_oDaemon)); // by the caller itself
    EXPECT_EQ(0, VADRO_Daemon_createPidFile(&m_oDaemon)) << "wrote over an existing file";
    EXPECT_EQ(1, countFiles());
    VADRO_Daemon_deletePidFile(&m_oDaemon);
    EXPECT_EQ(0, countFiles());
}

TEST_F(PidFileTest, StaleFilesAreReplaced)
{
    const Child oZombie([] { return 0; });
    EXPECT_EQ(0, oZombie.wait());
    const pid_t iDead = Child([] { return 0; }).m_iPid;
    for (const pid_t iPid : {oZombie.m_iPid, iDead, getpid()})
    {
        expectStale([&] { put(lineOf(iPid)); });
    }
}

TEST_F(PidFileTest, LinksAndPipesAreNeitherFollowedNorWaitedFor)
{
    const Child oChild(pause);
    (void)m_oFolder.write("victim", lineOf(oChild.m_iPid));
    expectStale([&] { ASSERT_EQ(0, symlink("victim", m_oDaemon.m_strPidFile.c_str())); });
    EXPECT_EQ(1, countFiles());
    expectStale([&] { ASSERT_EQ(0, mkfifo(m_oDaemon.m_strPidFile.c_str(), 0600)); });

    ASSERT_EQ(0, mkdir(m_oDaemon.m_strPidFile.c_str(), 0700));
    EXPECT_EQ(0, VADRO_Daemon_occupiedPidFile(&m_oDaemon));
    VADRO_Daemon_deletePidFile(&m_oDaemon);
    EXPECT_EQ(0, VADRO_Daemon_createPidFile(&m_oDaemon));
    EXPECT_NE(std::string::npos, m_oCapture.take().find("quorvad.pid cannot be written: File exists"));
}

TEST_F(PidFileTest, LeavesNothingBehindWhenItCannotBeWritten)
{
    std::ofstream(m_oDaemon.m_strPidFile + ".new") << "of a start that was killed";
    const Child oStart(
        [&]
        {
            const rlimit oFull{1, 1}; // not even the number fits
            std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &oFull);
            return VADRO_Daemon_createPidFile(&m_oDaemon);
        });
    EXPECT_EQ(0, oStart.wait());
    EXPECT_EQ(0, countFiles());
}

// The lock file is out of other users' reach; the folder itself anyone may lock.
TEST_F(PidFileTest, AHeldLockDelaysButDoesNotStop)
{
    const platform::UniqueFd oDirectory(open((m_oFolder / "").c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(0, flock(oDirectory.get(), LOCK_EX));
    expectStale([&] { put("garbage\n"); });
    const platform::LockFile oLock(m_oDaemon.m_strPidFile + ".lock", 0);
    ASSERT_EQ("", oLock.getFailure());
    put("garbage\n");
    VADRO_Daemon_deletePidFile(&m_oDaemon);
    EXPECT_EQ("garbage\n", contents()); // it may be another start's by now
    put(lineOf(getpid()));
    VADRO_Daemon_deletePidFile(&m_oDaemon);
    EXPECT_EQ(1, countFiles()); // the lock
}

// Many starts at once over a stale file, each done as main does it: exactly one gets the file and keeps it.
TEST_F(PidFileTest, OneOfManyStartsWins)
{
    constexpr unsigned uiStarts = 8;
    void* const pShared = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, pShared);
    auto& oArrived = *new (pShared) std::atomic<unsigned>(0);
    const auto oMeet = [&](unsigned a_uiArrivals)
    {
        for (++oArrived; oArrived < a_uiArrivals;)
        {
            sched_yield();
        }
    };
    const auto oStart = [&]
    {
        int iWon = 0;
        oMeet(uiStarts);
        if (VADRO_Daemon_occupiedPidFile(&m_oDaemon) == 0)
        {
            VADRO_Daemon_deletePidFile(&m_oDaemon);
            iWon = VADRO_Daemon_createPidFile(&m_oDaemon);
        }
        oMeet(2 * uiStarts); // the winner stays alive while the others try
        return iWon;
    };
    for (int iRound = 0; iRound < 40; ++iRound)
    {
        put("garbage");
        oArrived = 0;
        std::list<Child> oChildren;
        while (oChildren.size() < uiStarts)
        {
            oChildren.emplace_back(oStart);
        }
        std::string strWinners;
        for (const Child& oChild : oChildren)
        {
            strWinners += oChild.wait() == 1 ? lineOf(oChild.m_iPid) : "";
        }
        ASSERT_EQ(strWinners, contents()) << "round " << iRound;
        ASSERT_EQ(1, countFiles());
    }
}
