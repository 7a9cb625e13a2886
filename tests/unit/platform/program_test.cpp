#include "platform/base/program.h"

#include "tests/unit/support/child.h"
#include "tests/unit/support/folder.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <stdexcept>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

constexpr int s_iBudgetMs = 10000;

struct ProgramTest : testing::Test
{
    Folder m_oFolder;
    std::string m_strPidFile = m_oFolder / "/sample.pid";

    /// Runs it in a process of its own: the exit status, and what it wrote to standard error.
    std::pair<int, std::string> run(const platform::Work& a_oWork, const std::string& a_strPidFolder)
    {
        const std::string strFile = m_oFolder / "stderr";
        const Child oCaller(
            [&]
            {
                const bool bOpen = std::freopen(strFile.c_str(), "w", stderr) != nullptr;
                return !bOpen ? 99 : platform::runProgram({"sample", false, false, true, a_strPidFolder}, a_oWork);
            });
        return {oCaller.wait(), contentOf(strFile)};
    }
    std::pair<int, std::string> run(const platform::Work& a_oWork) { return run(a_oWork, m_oFolder / ""); }
};

} // namespace

TEST_F(ProgramTest, TheCallerGoesOnWhenTheDetachedProcessIsReady)
{
    int aiEnd[2];
    ASSERT_EQ(::pipe(aiEnd), 0);
    const auto serve = [&](std::uint32_t, const std::function<void()>& a_oReady)
    {
        ::close(aiEnd[1]);
        a_oReady();
        pollfd oPoll = {aiEnd[0], 0, 0};
        ::poll(&oPoll, 1, s_iBudgetMs); // until the test closes its end
    };
    EXPECT_EQ(run(serve), std::make_pair(0, std::string()));
    const std::string strPid = contentOf(m_strPidFile);
    EXPECT_EQ(::kill(std::stoi(strPid), 0), 0);
    EXPECT_EQ(run(serve),
              std::make_pair(1, "sample: already running, as " + m_strPidFile + " says; stop that one first\n"));
    EXPECT_EQ(contentOf(m_strPidFile), strPid);
    ::close(aiEnd[0]);
    ::close(aiEnd[1]);
    for (int i = 0; i < s_iBudgetMs / 10 && std::filesystem::exists(m_strPidFile); ++i)
    {
        ::poll(nullptr, 0, 10);
    }
    EXPECT_FALSE(std::filesystem::exists(m_strPidFile));
}

TEST_F(ProgramTest, TheCallerLearnsWhyTheStartFailed)
{
    const auto fail = [](std::uint32_t, const auto&) { throw std::runtime_error("no\x1b disk"); };
    EXPECT_EQ(run(fail), std::make_pair(1, std::string("sample: no\\x1b disk\n")));
    EXPECT_FALSE(std::filesystem::exists(m_strPidFile));
    EXPECT_EQ(run([](std::uint32_t, const auto&) { ::_exit(0); }),
              std::make_pair(1, std::string("sample: the background process ended unexpectedly; see syslog\n")));
    EXPECT_THAT(run(fail, m_oFolder / "none").second,
                AllOf(StartsWith("sample: cannot write PID file"), HasSubstr("none/sample.pid"), EndsWith("none\n")));
}
