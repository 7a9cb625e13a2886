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
    EXPECT_TRUE(oAction.execute());
    EXPECT_EQ(oAction.m_iSocket, -1);
    EXPECT_EQ(takeReport(), expectedReport(s_iId, 0, "Success", true));
    // A real query, to a port that nothing listens on.
    EXPECT_FALSE(action("name.example", "127.0.0.1", "127.61.0.53").execute());
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
