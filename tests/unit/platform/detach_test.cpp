#include "pidfilefixture.h"

#include <array>

#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

std::string linkTarget(const std::string& a_strPath)
{
    std::array<char, 256> acBuffer{};
    const ssize_t iLength = readlink(a_strPath.c_str(), acBuffer.data(), acBuffer.size());
    return {acBuffer.data(), iLength > 0 ? static_cast<std::size_t>(iLength) : 0};
}

// What is wrong with a detached process; empty when nothing is.
std::string faultsOfDetached(pid_t a_iStarter, pid_t a_iOldSession)
{
    std::string strFaults = getpid() == a_iStarter ? "not forked; " : "";
    strFaults += getsid(0) == getpid() || getsid(0) == a_iOldSession ? "session; " : "";
    strFaults += linkTarget("/proc/self/cwd") != "/" ? "working directory; " : "";
    for (const char* pPath : {"/proc/self/fd/0", "/proc/self/fd/1", "/proc/self/fd/2"})
    {
        strFaults += linkTarget(pPath) != "/dev/null" ? "standard descriptor; " : "";
    }
    return strFaults;
}

} // namespace

// Also from a process that was given no standard descriptors and ignores its children's end.
TEST(Detach, DetachedProcessIsOnItsOwn)
{
    for (const bool bBare : {false, true})
    {
        int aiPipe[2];
        ASSERT_EQ(0, pipe(aiPipe));
        const Child oStarter(
            [&]
            {
                std::signal(SIGCHLD, bBare ? SIG_IGN : SIG_DFL);
                for (int iFd = 0; bBare && iFd <= 2; ++iFd)
                {
                    close(iFd);
                }
                const pid_t iPid = getpid();
                const pid_t iSession = getsid(0);
                const VADRO_Daemon oDaemon{};
                std::string strAnswer = VADRO_Daemon_daemonize(&oDaemon) != 0 ? "detached; " : "failed; ";
                strAnswer += faultsOfDetached(iPid, iSession);
                (void)!write(aiPipe[1], strAnswer.data(), strAnswer.size());
                return 98;
            });
        close(aiPipe[1]);
        EXPECT_EQ(0, oStarter.wait());
        std::array<char, 256> acAnswer{};
        EXPECT_LT(0, read(aiPipe[0], acAnswer.data(), acAnswer.size()));
        EXPECT_STREQ("detached; ", acAnswer.data());
        close(aiPipe[0]);
    }
}

TEST(Detach, FailureLeavesTheCallerAsItWas)
{
    LogCapture oCapture;
    const Child oStarter(
        []
        {
            const rlimit oNone{3, 3};
            setrlimit(RLIMIT_NOFILE, &oNone);
            const VADRO_Daemon oDaemon{};
            return VADRO_Daemon_daemonize(&oDaemon) == 0 && linkTarget("/proc/self/cwd") != "/" ? 7 : 8;
        });
    EXPECT_EQ(7, oStarter.wait());
    EXPECT_NE(std::string::npos, oCapture.take().find("Too many open files"));
}
