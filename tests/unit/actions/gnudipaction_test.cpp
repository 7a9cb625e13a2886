#include "actions/gnudipaction.h"

#include "actions/error.h"
#include "actions/libwrapper.h"
#include "actions/socketwait.h"
#include "support.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <poll.h>
#include <regex>
#include <sys/resource.h>
#include <vector>

using namespace quorvad;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr int s_iId = 9;
constexpr std::uint16_t s_uiPort = 3495;

class GnudipActionTest : public testing::Test
{
protected:
    void SetUp() override
    {
        (void)takeReport();
        signal(SIGPIPE, SIG_IGN); // the daemon has a handler for it
    }

    static GnudipAction
    action(const char* a_pServer, const char* a_pLocal = "127.0.0.1", const std::string& a_strServers = "127.0.0.1")
    {
        return {a_pServer, "lo", a_pLocal, "alice.dyn.example.org", "alice", "secret", a_strServers, s_iId};
    }

    LibWrapper m_oLibraries;
};

/// For its lifetime, new descriptors are above 1023.
struct ManyDescriptors
{
    ManyDescriptors()
    {
        rlimit oLimit = {};
        getrlimit(RLIMIT_NOFILE, &oLimit);
        oLimit.rlim_cur = oLimit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &oLimit);
        while (m_iLast >= 0 && m_iLast < 1023)
        {
            m_iLast = dup(STDIN_FILENO);
            m_oAll.push_back(m_iLast);
        }
    }
    ~ManyDescriptors() { std::for_each(m_oAll.begin(), m_oAll.end(), close); }

    int m_iLast = 0;
    std::vector<int> m_oAll;
};

} // namespace

TEST_F(GnudipActionTest, NothingIsReportedWithoutAConnection)
{
    EXPECT_THAT(logOf([] { EXPECT_FALSE(action("127.61.0.4").execute()); }),
                HasSubstr("Failed to connect GnuDIP server: Connection refused"));
    EXPECT_THAT(logOf([] { EXPECT_FALSE(action("127.61.0.4", "192.0.2.77").execute()); }),
                HasSubstr("Failed to bind: Cannot assign requested address"));
    EXPECT_THAT(logOf([] { EXPECT_FALSE(action("not a host name").execute()); }), HasSubstr("getaddrinfo failed: "));
    EXPECT_EQ(takeReport(), "");
}

TEST_F(GnudipActionTest, UpdatesThroughDescriptorsAbove1023)
{
    const ManyDescriptors oDescriptors;
    ASSERT_GE(oDescriptors.m_iLast, 1023) << strerror(errno);
    const auto oServe = [](int a_iPeer)
    {
        sendAll(a_iPeer, "XyZ12\r\n");
        EXPECT_EQ(readUntil(a_iPeer, "\n"), "alice:5126e033c5707ed9f5713843634a245b:dyn.example.org:0\n");
        sendAll(a_iPeer, "0");
    };
    const LocalServer oServer("127.61.0.5", s_uiPort, oServe);
    auto oAction = action("127.61.0.5");
    const std::string strLog = logOf([&] { EXPECT_TRUE(oAction.execute()); });
    EXPECT_EQ(std::regex_replace(strLog, std::regex("id [0-9]+"), "id N"), R"(debug execute
debug Binding socket to '127.0.0.1'
debug getaddrinfo
debug Send query for node '127.61.0.5' with request id N
debug resolvLoop
debug c-ares thread reports no active resolving...
info Connecting to '127.61.0.5:3495' (127.61.0.5)
debug receiveFromServer
debug Received: 'XyZ12\x0d\x0a'
debug bytes: 7
debug Server reponse: 'XyZ12\x0d\x0a'
debug string to hash: '5ebe2294ecd0e0f08eab7690d2a6ee69.XyZ12', hash: '5126e033c5707ed9f5713843634a245b'
debug Sending: 'alice:5126e033c5707ed9f5713843634a245b:dyn.example.org:0' to server
debug sendToServer
debug Sent OK
debug receiveFromServer
debug Received: '0'
debug bytes: 1
debug Server reponse: '0'
debug updateSnapshot
debug updateSnapshot
debug push
info GnuDIP update sent OK.
)");
    EXPECT_EQ(oAction.m_iSocket, -1);
    EXPECT_EQ(takeReport(), expectedReport(s_iId, 0, "Success", true));
    // A real query, to a port that nothing listens on.
    EXPECT_FALSE(action("name.example", "127.0.0.1", "127.61.0.53").execute());
}

TEST_F(GnudipActionTest, BadServersAreReportedAndNamed)
{
    const struct
    {
        const char* m_pSalt;
        const char* m_pAnswer;
        const char* m_pLog;
        int m_iCode; // -1: no report
        const char* m_pReported = "Connection error";
    } aoCases[] = {
        {"", "", "info Connection closed by the server.\nerror No salt received from GnuDIP server.\n", -1},
        {"salt", "", "info Connection closed by the server.\nerror Empty response from server\n", 999},
        {"salt", "reset", "error recv() failed (Connection reset by peer)\nerror Empty response from server\n", 999},
        {"salt", "ok", "error Failed to parse response from server\n", 999},
        {"salt", "99999999999", "error Parsed response code is out of integer range.\n", 999},
        {"salt", " 2:host", "error GnuDIP update failed with code 2 (Host not found)\n", 2, "Host not found"}};
    for (const auto& oCase : aoCases)
    {
        const auto oServe = [&](int a_iPeer)
        {
            sendAll(a_iPeer, oCase.m_pSalt);
            *oCase.m_pSalt != 0 ? readUntil(a_iPeer, "\n") : "";
            const bool bReset = oCase.m_pAnswer == std::string("reset");
            const linger oAtOnce = {bReset ? 1 : 0, 0};
            setsockopt(a_iPeer, SOL_SOCKET, SO_LINGER, &oAtOnce, sizeof(oAtOnce));
            sendAll(a_iPeer, bReset ? "" : oCase.m_pAnswer);
        };
        const LocalServer oServer("127.61.0.6", s_uiPort, oServe);
        const std::string strLog = logOf([&] { EXPECT_FALSE(action("127.61.0.6").execute()); });
        const std::regex oQuiet("debug [^\n]*\n|info Connecting [^\n]*\n");
        EXPECT_EQ(std::regex_replace(strLog, oQuiet, ""), oCase.m_pLog);
        EXPECT_EQ(takeReport(),
                  oCase.m_iCode < 0 ? "" : expectedReport(s_iId, oCase.m_iCode, oCase.m_pReported, false));
    }
}

TEST_F(GnudipActionTest, ConstructionRefusesBadAccounts)
{
    EXPECT_THROW(action("127.61.0.1", "127.0.0.1", ""), Error);
    EXPECT_THROW(GnudipAction("s", "lo", "127.0.0.1", "bob", "bob", "p", "127.0.0.1", 1), Error);
    EXPECT_THROW(action("127.61.0.1", "127.0.0.1", ",1.1.1.1"), Error);
    EXPECT_EQ(action("127.61.0.1").getUrl(), "");
}

TEST(SocketWait, SignalsDoNotChangeItsLength)
{
    signal(SIGALRM, [](int) {});
    int aiPair[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, aiPair), 0);
    const auto oStart = Clock::now();
    ualarm(10000, 10000);
    EXPECT_EQ(waitForSocket(aiPair[0], POLLIN, 300), 0);
    ualarm(0, 0);
    EXPECT_NEAR(std::chrono::duration<double>(Clock::now() - oStart).count(), 1.15, 0.85); // never below 0.3
    close(aiPair[1]);
    EXPECT_NE(waitForSocket(aiPair[0], POLLIN, 300) & (POLLIN | POLLHUP), 0);
    close(aiPair[0]);
    EXPECT_EQ(waitForSocket(-1, POLLIN, 60000), -1);
}
