#include "cfgserver/session.h"
#include "platform/base/io.h"
#include "platform/common/deadline.h"
#include "samples.h"
#include "tests/unit/support/child.h"
#include "tests/unit/support/liveservice.h"

#include <gmock/gmock.h>

#include <deque>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

using namespace cfgserver;
using namespace samples;
using testing::HasSubstr;
using wire::Operation;
using wire::Result;

namespace
{

constexpr int s_iBudgetMs = 10000;

std::string frameOf(const wire::Message& a_oMessage)
{
    return wire::encodeFrame(wire::encode(a_oMessage));
}

/// A client that writes the protocol by hand, correctly or not.
class RawClient
{
public:
    RawClient() : m_oSocket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    explicit RawClient(const std::string& a_strPath) : RawClient() { connectTo(a_strPath); }

    void connectTo(const std::string& a_strPath)
    {
        EXPECT_TRUE(platform::UnixAddress(a_strPath).connect(m_oSocket.get()));
    }

    /// False if the socket accepts no more.
    bool send(const std::string& a_strBytes)
    {
        return ::send(m_oSocket.get(), a_strBytes.data(), a_strBytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0;
    }

    /// The next message; none if the service closed the connection or sent nothing within the budget.
    std::optional<wire::Message> next()
    {
        std::string strPayload;
        while (m_oReader.next(strPayload) != wire::FrameReader::State::Payload)
        {
            pollfd oPoll = {m_oSocket.get(), POLLIN, 0};
            char acBuffer[4096];
            const ssize_t iRead =
                ::poll(&oPoll, 1, s_iBudgetMs) == 1 ? ::recv(m_oSocket.get(), acBuffer, sizeof acBuffer, 0) : -1;
            m_bClosed = iRead == 0 || (iRead < 0 && errno == ECONNRESET);
            if (iRead <= 0)
            {
                return std::nullopt;
            }
            m_oReader.feed(acBuffer, static_cast<std::size_t>(iRead));
        }
        return wire::decode(strPayload);
    }

    /// The reply to a request; notifications before it are kept.
    wire::Reply ask(const wire::Request& a_oRequest)
    {
        EXPECT_TRUE(send(frameOf(a_oRequest)));
        while (const auto oMessage = next())
        {
            if (const auto* pReply = std::get_if<wire::Reply>(&*oMessage))
            {
                return *pReply;
            }
            m_oNotified.push_back(std::get<wire::Notification>(*oMessage).m_strTable);
        }
        ADD_FAILURE() << "no reply";
        return {};
    }
    Result ask(Operation a_eOperation, const korrin::ValueList& a_oValues = {})
    {
        return ask(request(a_eOperation, "DynDns", a_oValues)).m_eResult;
    }
    std::uint32_t count() { return ask(request(Operation::GetRowCount)).m_uiNumber; }

    /// Whether the service closes the connection within the budget.
    bool isClosed()
    {
        while (next())
        {
        }
        return m_bClosed;
    }
    /// The same, without reading anything.
    bool isHungUp()
    {
        pollfd oPoll = {m_oSocket.get(), 0, 0};
        return ::poll(&oPoll, 1, s_iBudgetMs) == 1 && (oPoll.revents & POLLHUP) != 0;
    }

    std::vector<std::string> m_oNotified;

private:
    platform::UniqueFd m_oSocket;
    wire::FrameReader m_oReader;
    bool m_bClosed = false;
};

struct ServerTest : testing::Test
{
    Limits m_oLimits;
    std::optional<LiveService> m_oService;
    std::string m_strPath;

    /// A client that has said hello. The first one starts the service.
    RawClient join(std::initializer_list<const char*> a_oWatched = {}, bool a_bOwn = false)
    {
        if (!m_oService)
        {
            m_strPath = m_oService.emplace(m_oLimits).getSocket();
        }
        wire::Request oHello = hello("test", row({{"NotifyOwnChanges", integer(a_bOwn ? 1 : 0)}}));
        oHello.m_oNames.assign(a_oWatched.begin(), a_oWatched.end());
        RawClient oClient(m_strPath);
        EXPECT_EQ(oClient.ask(oHello).m_eResult, Result::Ok);
        return oClient;
    }
};

} // namespace

TEST_F(ServerTest, SubscribersAreNotifiedOncePerCommit)
{
    RawClient oWriter = join({"DynDns"});
    RawClient oOwn = join({"DynDns", "etl"}, true);
    RawClient oOther = join({"etl"});
    for (RawClient* pClient : {&oWriter, &oOwn})
    {
        for (const auto eOperation :
             {Operation::GetAccess, Operation::InsertRow, Operation::InsertRow, Operation::Commit})
        {
            EXPECT_EQ(pClient->ask(eOperation), Result::Ok);
        }
    }
    for (RawClient* pClient : {&oWriter, &oOwn, &oOther})
    {
        // Each reply comes after what was queued before it.
        EXPECT_EQ(pClient->count(), 4U);
        EXPECT_EQ(pClient->count(), 4U);
    }
    EXPECT_THAT(oWriter.m_oNotified, testing::ElementsAre("DynDns")) << "it did not ask for its own commits";
    EXPECT_THAT(oOwn.m_oNotified, testing::ElementsAre("DynDns", "DynDns"));
    EXPECT_THAT(oOther.m_oNotified, testing::IsEmpty());
}

// A client may lose the connection right after a reply: it must not have read a change that it was not told.
TEST(SessionTest, AChangeIsToldBeforeItIsRead)
{
    int aiSockets[2] = {};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, aiSockets), 0);
    const platform::UniqueFd oClient(aiSockets[0]);
    Session oSession(platform::UniqueFd(aiSockets[1]), Peer{}, Timeouts{});
    const std::string strRequest = frameOf(request(Operation::GetRowCount));
    ASSERT_EQ(::send(oClient.get(), strRequest.data(), strRequest.size(), 0), static_cast<ssize_t>(strRequest.size()));
    oSession.markChanged(tableOf("DynDns"));
    oSession.receive();
    oSession.serve([](const wire::Request&) { return wire::Reply(); });
    oSession.flush();
    char acReceived[4096];
    const ssize_t iReceived = ::recv(oClient.get(), acReceived, sizeof acReceived, 0);
    EXPECT_EQ(std::string(acReceived, static_cast<std::size_t>(std::max<ssize_t>(iReceived, 0))),
              frameOf(wire::Notification{"DynDns"}) + frameOf(wire::Reply()));
}

TEST_F(ServerTest, RequestsSentBeforeADisconnectAreServed)
{
    RawClient oOther = join();
    join().send(frameOf(request(Operation::GetAccess)) + frameOf(request(Operation::InsertRow)) +
                frameOf(request(Operation::Commit)));
    for (const platform::Deadline oEnd(std::chrono::seconds(10)); oOther.count() == 0 && !oEnd.hasPassed();)
    {
    }
    EXPECT_EQ(oOther.count(), 1U);
}

TEST_F(ServerTest, ProtocolErrorsCloseNoOtherConnection)
{
    m_oLimits.m_oTimeouts.m_oHello = std::chrono::milliseconds(300);
    m_oLimits.m_oTimeouts.m_oStalled = std::chrono::milliseconds(300);
    RawClient oGood = join();
    const std::pair<std::string, bool> oBad[] = {
        {"GET / HTTP/1.1\r\n\r\n", false},
        {std::string("\0\0\0\0", 4), true},
        {std::string("\0\x10\0\1", 4), true},
        {std::string("\0\0\0\1\xc1", 5), true},
        {frameOf(wire::Notification{"DynDns"}), true},
        {"", false}, // silent
        {frameOf(hello()).substr(0, 9), true},
    };
    for (const auto& [strBytes, bGreeted] : oBad)
    {
        RawClient oClient = bGreeted ? join() : RawClient(m_strPath);
        oClient.send(strBytes);
        EXPECT_TRUE(oClient.isClosed()) << strBytes;
        EXPECT_EQ(oGood.ask(Operation::GetTables), Result::Ok);
    }
}

TEST_F(ServerTest, AClientThatNeverReadsIsClosedWithoutDelayingOthers)
{
    m_oLimits.m_oTimeouts.m_oStalled = std::chrono::milliseconds(500);
    RawClient oGood = join();
    EXPECT_EQ(oGood.ask(Operation::GetAccess), Result::Ok);
    const korrin::ValueList oRow = row({{"Hostname", text(std::string(g_uiMaxText, 'h'))}});
    for (int i = 0; i < 8; ++i)
    {
        EXPECT_EQ(oGood.ask(Operation::InsertRow, oRow), Result::Ok);
    }
    EXPECT_EQ(oGood.ask(Operation::Commit), Result::Ok);
    RawClient oDeaf = join();
    for (int i = 0; i < 1000 && oDeaf.send(frameOf(request(Operation::GetRows))); ++i)
    {
        EXPECT_EQ(oGood.count(), 8U);
    }
    const unsigned uiBefore = m_oService->getTurns();
    EXPECT_TRUE(oDeaf.isHungUp());
    EXPECT_LT(m_oService->getTurns() - uiBefore, 50U) << "the service spun while it waited";
    EXPECT_EQ(oGood.count(), 8U);
}

TEST_F(ServerTest, AFloodOfConnectionsLocksNobodyOut)
{
    m_oLimits.m_uiClients = 12;
    m_oLimits.m_uiStrangers = 4;
    std::deque<RawClient> oFlood;
    RawClient oFirst = join();
    for (int i = 0; i < 200; ++i)
    {
        oFlood.emplace_back(m_strPath);
        if (i % 20 == 0)
        {
            join();
        }
    }
    EXPECT_TRUE(oFlood.front().isClosed());
    std::deque<RawClient> oGreeted;
    for (int i = 0; i < 11; ++i)
    {
        oGreeted.push_back(join());
    }
    EXPECT_EQ(RawClient(m_strPath).ask(hello()).m_strError,
              "too many clients: 12 are connected already; end some, or try again later");
    EXPECT_EQ(oFirst.count(), 0U);
}

TEST_F(ServerTest, OneProcessLeavesRoomForOthers)
{
    m_oLimits.m_uiClients = 3;
    m_oLimits.m_uiPerProcess = 3;
    std::deque<RawClient> oClients;
    for (int i = 0; i < 3; ++i)
    {
        oClients.push_back(join());
    }
    EXPECT_EQ(oClients[0].ask(Operation::GetAccess), Result::Ok);
    EXPECT_EQ(oClients[2].ask(Operation::GetTables), Result::Ok);
    EXPECT_EQ(oClients[1].ask(Operation::GetTables), Result::Ok);
    RawClient oFourth(m_strPath);
    EXPECT_THAT(oFourth.ask(hello()).m_strError, HasSubstr("its process already has 3 connections"));
    EXPECT_TRUE(oFourth.isClosed());
    const Child oOther([&] { return RawClient(m_strPath).ask(hello()).m_eResult == Result::Ok ? 0 : 1; });
    EXPECT_EQ(oOther.wait(), 0);
    EXPECT_TRUE(oClients[2].isClosed()) << "the idlest that is not writing";
    EXPECT_EQ(oClients[1].count(), 0U);
    EXPECT_EQ(oClients[0].ask(Operation::Commit), Result::Ok);
}

TEST_F(ServerTest, WithoutDescriptorsItRefusesAndDoesNotSpin)
{
    RawClient oGood = join();
    std::array<RawClient, 20> oLate;
    rlimit oOld = {};
    ::getrlimit(RLIMIT_NOFILE, &oOld);
    const int iNext = ::dup(0);
    ::close(iNext);
    const rlimit oNoMore = {static_cast<rlim_t>(iNext), oOld.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &oNoMore);
    const unsigned uiBefore = m_oService->getTurns();
    for (RawClient& oClient : oLate)
    {
        oClient.connectTo(m_strPath);
        EXPECT_TRUE(oClient.isClosed());
        EXPECT_EQ(oGood.ask(Operation::GetTables), Result::Ok);
    }
    EXPECT_LT(m_oService->getTurns() - uiBefore, 100U);
    ::setrlimit(RLIMIT_NOFILE, &oOld);
    join();
}
