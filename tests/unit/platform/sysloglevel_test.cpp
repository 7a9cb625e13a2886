#include "vadro/sysloglevel.h"

#include "tests/unit/support/logcapture.h"

#include <cerrno>
#include <csignal>
#include <iterator>
#include <regex>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

static const uint32_t s_uiModule = VADRO_Sysloglevel_registerModul("quorvad");

TEST(Sysloglevel, SilentInTheBackgroundAndHarmlessBeforeSetUp)
{
    LogCapture oCapture;
    VADRO_Sysloglevel_set(1);
    VADRO_Sysloglevel_error(s_uiModule, "main", 1, "early");
    EXPECT_EQ("", oCapture.take());
    EXPECT_EQ(0, VADRO_Sysloglevel_construct2(nullptr, nullptr));
    EXPECT_NE(0, VADRO_Sysloglevel_construct2("p: ", "quorvad"));
    VADRO_Sysloglevel_set(0);
    VADRO_Sysloglevel_error(s_uiModule, nullptr, 1, nullptr);
    EXPECT_NE(std::string::npos, oCapture.take().find(" error p: :1: \n"));
    EXPECT_NE(0, VADRO_Sysloglevel_construct2("", "quorvad"));
}

TEST(Sysloglevel, LineHasTimeLevelPlaceAndVisibleText)
{
    LogCapture oCapture;
    VADRO_Sysloglevel_warning(s_uiModule, "main", 42, VAStr("reply \"%s\"", "ok\n2026 error forged %n%s"));
    const std::string strLine = oCapture.take();
    EXPECT_TRUE(std::regex_match(strLine,
                                 std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} warning main:42: "
                                            "reply \"ok\\\\x0a2026 error forged %n%s\"\n")))
        << strLine;
    VADRO_Sysloglevel_error(s_uiModule, "main", 1, std::string(100000, 'x').c_str());
    const std::string strLong = oCapture.take();
    EXPECT_LT(strLong.size(), 8400U);
    EXPECT_NE(std::string::npos, strLong.find("x...[cut, 100000 bytes]\n"));
}

TEST(Sysloglevel, DebugTextsAreFormattedOnlyWhenWritten)
{
    LogCapture oCapture;
    VADRO_Sysloglevel_changeTracelevelAll(0);
    int iFormatted = 0;
    const auto oWriteBoth = [&]
    {
        VADRO_Sysloglevel_debug(s_uiModule, "a", 1, VAStr("%d", ++iFormatted));
        VADRO_Sysloglevel_info(s_uiModule, "a", 2, VAStr("%d", ++iFormatted));
    };
    oWriteBoth();
    EXPECT_EQ(1, iFormatted);
    VADRO_Sysloglevel_changeTracelevelAll(1023);
    oWriteBoth();
    EXPECT_NE(std::string::npos, oCapture.take().find(" debug a:1: 2\n"));
}

TEST(Sysloglevel, ReaderGoneOrNoStandardErrorAtAll)
{
    LogCapture oCapture;
    int aiPipe[2];
    ASSERT_EQ(0, pipe2(aiPipe, O_NONBLOCK));
    dup2(aiPipe[1], STDERR_FILENO);
    close(aiPipe[0]);
    errno = EAGAIN;
    VADRO_Sysloglevel_error(s_uiModule, "main", 1, "SIGPIPE's default action would end this process");
    EXPECT_EQ(EAGAIN, errno);
    sigset_t oPending;
    sigpending(&oPending);
    EXPECT_EQ(0, sigismember(&oPending, SIGPIPE));

    ASSERT_EQ(0, pipe2(aiPipe, O_NONBLOCK));
    close(STDERR_FILENO);
    VADRO_Sysloglevel_set(0);
    dup2(aiPipe[1], STDERR_FILENO); // a pipe gets the free number
    VADRO_Sysloglevel_error(s_uiModule, "main", 1, "not for that pipe");
    char cByte = 0;
    EXPECT_EQ(-1, read(aiPipe[0], &cByte, 1));
}

TEST(Sysloglevel, NotTwiceIntoTheJournal)
{
    LogCapture oCapture;
    struct stat oStatus = {};
    ASSERT_EQ(0, fstat(STDERR_FILENO, &oStatus));
    for (const ino_t uiOther : {0U, 1000U}) // the next numbers may be those of the next captures' files
    {
        const std::string strStream = std::to_string(oStatus.st_dev) + ":" + std::to_string(oStatus.st_ino + uiOther);
        setenv("JOURNAL_STREAM", strStream.c_str(), 1);
        VADRO_Sysloglevel_set(0);
        VADRO_Sysloglevel_error(s_uiModule, "main", 1, "once");
        EXPECT_EQ(uiOther == 0, oCapture.take().empty());
    }
    unsetenv("JOURNAL_STREAM");
}

TEST(Sysloglevel, ThreadsNeverMixTheirLines)
{
    LogCapture oCapture;
    const auto oWriteMany = [](char a_cLetter)
    {
        for (int iLine = 0; iLine < 200; ++iLine)
        {
            const uint32_t uiModule = VADRO_Sysloglevel_registerModul(VAStr("%c", a_cLetter));
            VADRO_Sysloglevel_info(uiModule, "t", 5, std::string(200, a_cLetter).c_str());
        }
    };
    std::thread oOther(oWriteMany, 'a');
    oWriteMany('b');
    oOther.join();
    const std::string strAll = oCapture.take();
    const std::regex oWholeLine("[^\n]{24}info t:5: (a{200}|b{200})\n");
    EXPECT_EQ(400, std::distance(std::sregex_iterator(strAll.begin(), strAll.end(), oWholeLine), {}));
}

TEST(VAStr, LongTextsAndTextsThatCannotBeFormatted)
{
    errno = EINTR;
    EXPECT_EQ(std::string(50000, 'y') + "7",
              static_cast<const char*>(VAStr("%s%d", std::string(50000, 'y').c_str(), 7)));
    // The C locale has no form for wide characters outside ASCII: formatting fails as it would without memory.
    EXPECT_STREQ("(log text lost: it could not be formatted)", VAStr("%ls", L"\u20ac"));
    EXPECT_EQ(EINTR, errno);
}
