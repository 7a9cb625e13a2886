#include "platform/base/program.h"

#include "tests/unit/support/child.h"
#include "tests/unit/support/folder.h"
#include "tests/unit/support/logcapture.h"
#include "vadro/daemon.h"

#include <pthread.h>
#include <stdexcept>
#include <sys/resource.h>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

struct ProgramTest : testing::Test
{
    Folder m_oFolder;
    std::string m_strPidFile = m_oFolder / "/sample.pid";

    /// Runs the work in a child process: its exit status, and what it wrote to standard error.
    std::pair<int, std::string> run(const platform::Work& a_oWork, const std::string& a_strPidFolder = "")
    {
        const std::string strFile = m_oFolder / "stderr";
        const Child oCaller(
            [&]
            {
                std::signal(SIGCHLD, SIG_IGN); // as some parents leave it
                const bool bOpen = std::freopen(strFile.c_str(), "w", stderr) != nullptr;
                return !bOpen
                           ? 99
                           : platform::runProgram({"sample", false, false, true, m_oFolder / a_strPidFolder}, a_oWork);
            });
        return {oCaller.wait(), contentOf(strFile)};
    }
};

} // namespace

TEST_F(ProgramTest, TheCallerIsToldWhyTheStartFailed)
{
    const auto fail = [](std::uint32_t, const auto&) { throw std::runtime_error("no\x1b disk"); };
    EXPECT_EQ(run(fail), std::make_pair(1, std::string("sample: no\\x1b disk\n")));
    EXPECT_FALSE(std::filesystem::exists(m_strPidFile));
    EXPECT_EQ(run([](std::uint32_t, const auto&) { ::_exit(0); }),
              std::make_pair(1, std::string("sample: the background process ended unexpectedly; see syslog\n")));
    EXPECT_THAT(run(fail, "none").second,
                AllOf(StartsWith("sample: cannot write PID file"), HasSubstr("none/sample.pid"), EndsWith("none\n")));
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
            return VADRO_Daemon_daemonize(&oDaemon) == 0 && std::filesystem::current_path() != "/" ? 7 : 8;
        });
    EXPECT_EQ(7, oStarter.wait());
    EXPECT_THAT(oCapture.take(), HasSubstr("Too many open files"));
}

// The process between caller and detached one may be killed at any moment; caller and detached one never both go on.
TEST(Detach, CallerLeavesWhenTheProcessBetweenIsKilled)
{
    const Child oStarter(
        []
        {
            static const pid_t s_iStarter = getpid();
            pthread_atfork(
                nullptr, [] { getpid() != s_iStarter ? std::raise(SIGKILL) : 0; }, nullptr);
            const VADRO_Daemon oDaemon{};
            return VADRO_Daemon_daemonize(&oDaemon) != 0 && getpid() != s_iStarter ? 0 : 7;
        });
    EXPECT_EQ(0, oStarter.wait());
}
