#include "tests/unit/cfgctl/childprogram.h"
#include "tests/unit/support/liveservice.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

class Program : public testing::Test
{
protected:
    struct Outcome
    {
        int m_iStatus;
        std::string m_strOutput;
        std::string m_strErrors;
    };

    [[nodiscard]] std::vector<std::string> here(std::vector<std::string> a_oArguments) const
    {
        a_oArguments.insert(a_oArguments.end(), {"--socket", m_oService.getSocket()});
        return a_oArguments;
    }
    [[nodiscard]] std::string read(const std::string& a_strName) const
    {
        return cfgctl::readFile(m_oFolder / a_strName, 1000000);
    }
    /// Runs it with its output in the file "out" or at a_iOutput.
    Outcome
    run(const std::vector<std::string>& a_oArguments, const std::string& a_strInput = "", int a_iOutput = s_iFile)
    {
        const std::string strInput = m_oFolder.write("in", a_strInput);
        const platform::UniqueFd oFile(open(m_oFolder.write("out", "").c_str(), O_WRONLY | O_CLOEXEC));
        ChildProgram oChild(
            here(a_oArguments), strInput, a_iOutput == s_iFile ? oFile.get() : a_iOutput, m_oFolder / "err");
        const int iStatus = oChild.wait();
        return {iStatus, read("out"), read("err")};
    }
    /// Makes changes until the file holds the text; false after some seconds.
    bool changeUntil(const std::string& a_strName, const std::string& a_strText)
    {
        for (int iTry = 0; iTry < 200 && read(a_strName).find(a_strText) == std::string::npos; ++iTry)
        {
            (void)run({"set", "etl", "Id=1", "serial_no=S" + std::to_string(iTry)});
        }
        return read(a_strName).find(a_strText) != std::string::npos;
    }

    static constexpr int s_iFile = -2;
    LiveService m_oService;
    Folder m_oFolder;
};

} // namespace

TEST_F(Program, ExitStatusTellsDoneFailedAndWrongUsage)
{
    EXPECT_EQ(run({"status"}).m_iStatus, 0);
    const Outcome oHelp = run({"--help"});
    EXPECT_EQ(oHelp.m_iStatus, 0);
    EXPECT_THAT(oHelp.m_strErrors, IsEmpty());
    const Outcome oFailed = run({"show", "T\x1b[2J"});
    EXPECT_EQ(oFailed.m_iStatus, 1);
    EXPECT_THAT(oFailed.m_strOutput, IsEmpty());
    EXPECT_THAT(oFailed.m_strErrors, testing::AllOf(HasSubstr("cfgctl: "), HasSubstr("T\\x1b[2J")));
    EXPECT_EQ(run({"show"}).m_iStatus, 2);
    m_oService.stop();
    const Outcome oAway = run({"status"});
    EXPECT_EQ(oAway.m_iStatus, 1);
    EXPECT_THAT(oAway.m_strErrors, HasSubstr("No such file or directory. Is it running? Start it with 'cfgserver --s"));
}

TEST_F(Program, OutputThatIsLostIsAFailure)
{
    const platform::UniqueFd oFull(open("/dev/full", O_WRONLY | O_CLOEXEC));
    int aiPipe[2];
    ASSERT_EQ(pipe2(aiPipe, O_CLOEXEC), 0);
    const platform::UniqueFd oNobodyReads(aiPipe[1]);
    close(aiPipe[0]);
    for (const char* pCommand : {"--help", "tables", "export"})
    {
        const Outcome oOutcome = run({pCommand}, "", oFull.get());
        EXPECT_EQ(oOutcome.m_iStatus, 1) << pCommand;
        EXPECT_THAT(oOutcome.m_strErrors, HasSubstr("No space left on device")) << pCommand;
        const Outcome oPiped = run({pCommand}, "", oNobodyReads.get());
        EXPECT_EQ(oPiped.m_iStatus, -SIGPIPE) << pCommand;
        EXPECT_THAT(oPiped.m_strErrors, IsEmpty()) << pCommand;
    }
    // Without a standard output, what is printed must not end up in the connection.
    EXPECT_THAT(run({"export"}, "", -1).m_strErrors, HasSubstr("Bad file descriptor"));
}

TEST_F(Program, ValuesAndFilesComeFromStandardInput)
{
    EXPECT_EQ(run({"add", "DynDns", "Password@=-", "Hostname=@home"}, "ge heim\n").m_strOutput, "1\n");
    EXPECT_THAT(run({"show", "DynDns", "--show-secrets"}).m_strOutput,
                testing::AllOf(HasSubstr(" ge heim "), HasSubstr(" @home ")));
    EXPECT_THAT(run({"import", "-"}, run({"export"}).m_strOutput).m_strOutput,
                HasSubstr("DynDns: 0 added, 0 changed, 0 deleted, 1 un"));
}

TEST_F(Program, WatchSurvivesARestartAndEndsOnASignal)
{
    const platform::UniqueFd oOutput(open(m_oFolder.write("watch", "").c_str(), O_WRONLY | O_CLOEXEC));
    (void)m_oFolder.write("errors", "");
    ChildProgram oWatch(here({"watch", "etl", "--json"}), "/dev/null", oOutput.get(), m_oFolder / "errors");
    EXPECT_TRUE(changeUntil("watch", "\"Table\":\"etl\"}\n"));
    m_oService.stop();
    m_oService.start();
    EXPECT_TRUE(changeUntil("errors", "is back; any table may have changed\n"));
    oWatch.sendSignal(SIGINT);
    EXPECT_EQ(oWatch.wait(), 0);
}

TEST_F(Program, WatchEndsAfterACountOrATime)
{
    EXPECT_EQ(run({"watch", "--timeout", "1"}).m_iStatus, 0);
    const Outcome oMissed = run({"watch", "--timeout", "1", "--count", "1"});
    EXPECT_EQ(oMissed.m_iStatus, 1);
    EXPECT_THAT(oMissed.m_strErrors, HasSubstr("Only 0 of 1"));
    const platform::UniqueFd oOutput(open(m_oFolder.write("watch", "").c_str(), O_WRONLY | O_CLOEXEC));
    ChildProgram oWatch(here({"watch", "--count", "2"}), "/dev/null", oOutput.get(), m_oFolder / "errors");
    EXPECT_TRUE(changeUntil("watch", "  etl\n"));
    (void)run({"set", "etl", "Id=1", "serial_no=last"});
    EXPECT_EQ(oWatch.wait(), 0);
}
