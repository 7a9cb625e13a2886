#include "actions/curlaction.h"

#include "actions/error.h"
#include "actions/libwrapper.h"
#include "actions/receivelimit.h"
#include "support.h"

#include <array>
#include <cerrno>
#include <gmock/gmock.h>

using namespace quorvad;
using testing::HasSubstr;

namespace
{

constexpr int s_iId = 7;

class CurlActionTest : public testing::Test
{
protected:
    void SetUp() override { (void)takeReport(); }

    static CurlAction action(const std::string& a_strUrl,
                             const std::string& a_strExpected = "",
                             const std::string& a_strUser = "",
                             const std::string& a_strPassword = "",
                             const std::string& a_strInterface = "lo",
                             const std::string& a_strNameservers = "127.0.0.1")
    {
        return {a_strUrl,
                "192.0.2.1",
                "",
                "host.example",
                a_strUser,
                a_strPassword,
                "S<ipaddr>42",
                a_strExpected,
                a_strInterface,
                a_strNameservers,
                s_iId};
    }

    LibWrapper m_oLibraries;
};

} // namespace

TEST_F(CurlActionTest, PlaceholdersAreFilledRawAndInOrder)
{
    const struct
    {
        const char* m_pTemplate;
        const char* m_pUser;
        const char* m_pUrl;
    } aoCases[] = {{"http://h/?no=placeholder%20<IPADDR>", "", "http://h/?no=placeholder%20<IPADDR>"},
                   {"<ipaddr>,<ipaddr>,<ipaddr6>,<domain>", "", "192.0.2.1,192.0.2.1,,host.example"},
                   {"u=<username>&p=<password>", "bob", "u=bob&p=a&#b"}, // values are inserted as they are,
                   {"<username>", "<password>", "a&#b"},                 // a later step sees them,
                   {"<serial>", "", "S<ipaddr>42"}};                     // an earlier one does not
    for (const auto& oCase : aoCases)
    {
        EXPECT_EQ(action(oCase.m_pTemplate, "", oCase.m_pUser, "a&#b").getUrl(), oCase.m_pUrl);
    }
}

TEST_F(CurlActionTest, ReplyDecidesAndIsReported)
{
    const std::string strLong = std::string(199, 'x') + std::string(101, '<');
    const std::string strEscaped = std::string(199, 'x') + "&lt;";
    const struct
    {
        const char* m_pStatus;
        std::string m_strBody;
        const char* m_pExpected;
        bool m_bSuccess;
        std::string m_strReported;
        const char* m_pLog = "";
        const char* m_pUnchanged = "";
    } aoCases[] = {
        {"200 OK", "", "", true, ""},
        {"200 OK", strLong, "", true, strEscaped},
        {"403 Forbidden", "a<b", "", false, "a&lt;b"},
        {"302 Found\r\nLocation: /other", "moved", "", false, "moved"},
        {"500 Oops", "good\n 1.2.3.4\n", "good 1", true, "good 1.2.3.4", "debug HTTPS response: 'good 1.2.3.4'\n"},
        {"200 OK",
         "Good",
         "good",
         false,
         "Good",
         "warning HTTPS response body does not contain expected substring (good)\ninfo Received: 'Good'\n"},
        {"200 OK", "", "good", false, "", "error HTTPS response is empty\n"},
        {"200 OK", "no\nchg", "good", true, "nochg", "debug HTTPS response: 'nochg'\n", "nochg"}};
    for (const auto& oCase : aoCases)
    {
        int iRequests = 0;
        {
            const std::string strReply = std::string("HTTP/1.0 ") + oCase.m_pStatus + "\r\n\r\n" + oCase.m_strBody;
            const auto oServe = [&](int a_iPeer)
            {
                ++iRequests;
                readUntil(a_iPeer, "\r\n\r\n");
                sendAll(a_iPeer, strReply);
            };
            const LocalServer oServer("127.0.0.1", 0, oServe);
            auto oAction = action(oServer.url() + "/u", oCase.m_pExpected);
            oAction.setUnchangedText(oCase.m_pUnchanged);
            const int iStatus = std::atoi(oCase.m_pStatus);
            for (int iTry = 0; iTry < 2; ++iTry) // an attempt does not affect the next one
            {
                EXPECT_EQ(logOf([&] { EXPECT_EQ(oAction.execute(), oCase.m_bSuccess) << oCase.m_pStatus; }),
                          "debug execute\ndebug URL: '" + oAction.getUrl() + "'\ninfo HTTPS update sent\n" +
                              "info HTTPS response code: " + std::to_string(iStatus) + "\n" + oCase.m_pLog +
                              "debug Save DynDNS log and status\ndebug logResponse\ndebug updateSnapshot\n" +
                              "debug updateSnapshot\ndebug push\n");
                EXPECT_EQ(takeReport(), expectedReport(s_iId, iStatus, oCase.m_strReported, oCase.m_bSuccess));
            }
        }
        EXPECT_EQ(iRequests, 2);
    }
}

TEST_F(CurlActionTest, NothingIsReportedWhileTheInterfaceIsDown)
{
    auto oAction = action("http://127.0.0.1:1/", "", "", "", "nosuchif0");
    EXPECT_THAT(logOf([&] { EXPECT_FALSE(oAction.execute()); }),
                HasSubstr("Interface 'nosuchif0' is down, cannot send HTTPS update."));
    EXPECT_EQ(takeReport(), "");
}

TEST_F(CurlActionTest, FailedTransferIsReportedAndThrown)
{
    auto oAction = action("http://127.0.0.1:1/");
    EXPECT_THAT(logOf([&] { EXPECT_THROW((void)oAction.execute(), Error); }),
                HasSubstr("error curl_easy_perform() failed: 'Couldn't connect to server'\n"));
    EXPECT_EQ(takeReport(), expectedReport(s_iId, 0, "Connection error: Couldn't connect to server", false));
}

TEST(ReceiveLimit, EndsWithWaitingDataLeftUnread)
{
    std::array<int, 2> aiPair = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, aiPair.data()), 0);
    sendAll(aiPair[0], "ab");
    char cByte = 0;
    {
        const ReceiveLimit oLimit{std::chrono::milliseconds(0)};
        std::thread([&] { EXPECT_EQ(recv(aiPair[1], &cByte, 1, 0), 1); }).join(); // another thread has its own
        errno = 0;
        EXPECT_EQ(recv(aiPair[1], &cByte, 1, 0), -1);
        EXPECT_EQ(errno, EAGAIN);
    }
    const ReceiveLimit oLimit{std::chrono::seconds(60)};
    EXPECT_EQ(recv(aiPair[1], &cByte, 1, 0), 1);
    EXPECT_EQ(cByte, 'b');
    close(aiPair[0]);
    close(aiPair[1]);
}
