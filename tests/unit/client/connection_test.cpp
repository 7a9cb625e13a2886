#include "fakeservice.h"

#include "korrin/net/eventdispatcher.h"
#include "platform/client/serviceconnection.h"
#include "tests/unit/cfgserver/samples.h"
#include "vadro/cfg/notificationhandler.h"

#include <gmock/gmock.h>

#include <future>

namespace
{

using namespace std::chrono_literals;
using platform::ServiceConnection;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using wire::Operation;
using wire::Result;

class RecordingHandler : public vadro::cfg::IConfigHandler
{
public:
    void getTableNames(std::list<std::string>& a_oNames) override { a_oNames.insert(a_oNames.end(), {"A", "B", "C"}); }
    bool loadFromConfig(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable) override
    {
        m_oLoaded.push_back(a_strTable);
        if (m_oOnLoad)
        {
            m_oOnLoad(a_oClient, a_strTable);
        }
        return true;
    }
    void onServiceEvent() override { ++m_iServiceEvents; }

    std::vector<std::string> takeLoaded() { return std::exchange(m_oLoaded, {}); }

    std::vector<std::string> m_oLoaded;
    std::function<void(vadro::cfg::common::IConfigClient&, const std::string&)> m_oOnLoad;
    int m_iServiceEvents = 0;
};

void greetAndStay(FakePeer& a_oPeer)
{
    a_oPeer.greet();
    a_oPeer.awaitEnd();
}

/// Answers one question for the digest of a table each.
void giveDigests(FakePeer& a_oPeer, const std::vector<const char*>& a_oDigests)
{
    for (const char* pDigest : a_oDigests)
    {
        wire::Reply oReply;
        oReply.m_uiSequence = a_oPeer.expect(Operation::GetDigest).m_uiSequence;
        oReply.m_oRows.push_back(samples::row({{wire::g_acDigestColumn, samples::text(pDigest)}}));
        a_oPeer.sendBytes(wire::encodeFrame(wire::encode(oReply)));
    }
}

class Connection : public testing::Test
{
protected:
    ServiceConnection& make(unsigned a_uiConnectSec = 5)
    {
        platform::LinkSettings oSettings;
        oSettings.m_strSocketPath = m_oService.getPath();
        oSettings.m_uiRetryDelayMs = m_uiRetryDelayMs;
        m_pConnection = std::make_unique<ServiceConnection>(m_oLoop, oSettings, a_uiConnectSec, m_oLimits);
        m_pConnection->registerConfigHandler(&m_oHandler);
        return *m_pConnection;
    }
    /// One pass of the main loop, which must not have to time out.
    std::vector<std::string> passAtOnce()
    {
        const auto oStart = std::chrono::steady_clock::now();
        m_oLoop.wait(4000);
        EXPECT_LT(std::chrono::steady_clock::now() - oStart, 2s) << "slept although something was pending";
        m_pConnection->process();
        return m_oHandler.takeLoaded();
    }
    std::vector<std::string> passUntilDelivery()
    {
        std::vector<std::string> oLoaded;
        for (const platform::Deadline oEnd(5s); oLoaded.empty() && !oEnd.hasPassed();)
        {
            m_oLoop.wait(100);
            m_pConnection->process();
            oLoaded = m_oHandler.takeLoaded();
        }
        return oLoaded;
    }
    unsigned count(unsigned& a_uiCount) { return m_pConnection->getConfigClient().getrowcount("A", a_uiCount); }
    std::string initializeText(unsigned a_uiConnectSec)
    {
        return samples::failureOf([&] { make(a_uiConnectSec).initialize(); });
    }

    platform::EventLoop m_oLoop;
    unsigned m_uiRetryDelayMs = 10;
    platform::LinkLimits m_oLimits{3s, 30s, platform::isTrustedUser};
    RecordingHandler m_oHandler;
    FakeService m_oService;
    std::unique_ptr<ServiceConnection> m_pConnection;
};

TEST_F(Connection, IntroducesItselfAndLoadsTheFirstTableAtOnce)
{
    std::promise<wire::Request> oHello;
    m_oService.start({[&](FakePeer& a_oPeer)
                      {
                          oHello.set_value(a_oPeer.greet());
                          a_oPeer.awaitEnd();
                      }});
    korrin::net::EventDispatcher oDispatcher;
    vadro::cfg::NotificationHandler oNotifications(
        m_oService.getPath().c_str(), oDispatcher, "tester", true, 5, 10, true, true);
    oNotifications.registerConfigHandler(&m_oHandler);
    oNotifications.deliverAllOnReturn(); // without reads of its own
    oNotifications.initialize();
    oDispatcher.handleEvents(4000);
    oNotifications.process();
    EXPECT_THAT(m_oHandler.takeLoaded(), ElementsAre("A"));
    EXPECT_EQ(m_oHandler.m_iServiceEvents, 0);

    const wire::Request oSeen = oHello.get_future().get();
    EXPECT_EQ(oSeen.m_uiNumber, wire::g_uiProtocolVersion);
    EXPECT_EQ(oSeen.m_strTable, "tester");
    EXPECT_THAT(oSeen.m_oNames, ElementsAre("A", "B", "C"));
    EXPECT_EQ(oSeen.m_oValues,
              samples::row({{"NotifyOwnChanges", samples::integer(1)},
                            {"ReadOnly", samples::integer(1)},
                            {"Age", samples::integer(0)}}));
    std::string strVersion;
    EXPECT_EQ(oNotifications.getConfigClient().getserviceversion(strVersion), 0U);
    EXPECT_EQ(strVersion, "fake 7");
}

TEST_F(Connection, NotificationsAroundAReplyAreDeliveredOnceEachInOrder)
{
    m_oService.start({[](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          const wire::Request oRequest = a_oPeer.expect(Operation::GetRowCount);
                          for (const char* pTable : {"C", "unknown", "B", "C"})
                          {
                              a_oPeer.notify(pTable);
                          }
                          a_oPeer.reply(oRequest, 7);
                          a_oPeer.notify("B");
                          a_oPeer.awaitEnd();
                      }});
    make().initialize();
    EXPECT_THAT(passAtOnce(), ElementsAre("A"));
    unsigned uiCount = 0;
    EXPECT_EQ(count(uiCount), 0U);
    EXPECT_EQ(uiCount, 7U);
    EXPECT_THAT(passAtOnce(), ElementsAre("B", "C"));
}

TEST_F(Connection, ChangesDuringDeliveryComeInTheNextPassAndAThrowingHandlerKeepsTheRest)
{
    m_oService.start({[](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          for (const char* pTable : {"C", "B", "A"}) // changes while A is loaded for the first time
                          {
                              const wire::Request oRequest = a_oPeer.expect(Operation::GetRowCount);
                              a_oPeer.notify(pTable);
                              a_oPeer.reply(oRequest);
                          }
                          a_oPeer.awaitEnd();
                      }});
    make().initialize();
    m_oHandler.m_oOnLoad = [](auto& a_oClient, const std::string& a_strTable)
    {
        unsigned uiCount = 0;
        for (int i = 0; i < 3 && a_strTable == "A"; ++i)
        {
            a_oClient.getrowcount("A", uiCount);
        }
    };
    EXPECT_THAT(passAtOnce(), ElementsAre("A"));
    m_oHandler.m_oOnLoad = [](auto&, const std::string&) { throw std::logic_error("handler"); };
    EXPECT_THROW(passAtOnce(), std::logic_error);
    EXPECT_THAT(m_oHandler.takeLoaded(), ElementsAre("A"));
    m_oHandler.m_oOnLoad = nullptr;
    EXPECT_THAT(passAtOnce(), ElementsAre("B", "C"));
}

// Whatever the service does instead of answering: the call fails in time, access is gone, later calls fail at once, and
// a new connection delivers every table.
TEST_F(Connection, EveryMisbehaviourLeadsToANewConnection)
{
    m_oLimits.m_oRequest = 150ms;
    m_uiRetryDelayMs = 100; // doubled at each loss, it would outlast the pass below
    const std::string strFrame = wire::encodeFrame(wire::encode(wire::Notification{"unknown"}));
    const auto sends = [](const std::string& a_strBytes)
    { return [a_strBytes](FakePeer& a_oPeer, const auto&) { a_oPeer.sendBytes(a_strBytes); }; };
    const struct Misbehaviour
    {
        const char* m_pName;
        std::function<void(FakePeer&, const wire::Request&)> m_oAct;
        Result m_eResult;
    } aoCases[] = {
        {"silence", [](FakePeer& a_oPeer, const auto&) { a_oPeer.awaitEnd(); }, Result::TimedOut},
        {"chatter without an answer",
         [&](FakePeer& a_oPeer, const auto&)
         {
             std::string strBurst;
             for (int i = 0; i < 1000; ++i)
             {
                 strBurst += strFrame;
             }
             for (const platform::Deadline oEnd(4s); !oEnd.hasPassed();)
             {
                 a_oPeer.sendBytes(strBurst); // throws once the client has hung up
             }
         },
         Result::TimedOut},
        {"hang-up in mid frame", sends(strFrame.substr(0, strFrame.size() - 1)), Result::Disconnected},
        {"no message", sends(wire::encodeFrame("hello")), Result::Garbled},
        {"oversized frame", sends("\x7f\xff\xff\xff"), Result::Garbled},
        {"request instead of a reply", sends(wire::encodeFrame(wire::encode(samples::hello()))), Result::Garbled},
        {"reply to another request",
         [](FakePeer& a_oPeer, wire::Request a_oRequest)
         {
             ++a_oRequest.m_uiSequence;
             a_oPeer.reply(a_oRequest);
         },
         Result::Garbled},
    };
    std::vector<FakeService::Script> oScripts;
    for (const Misbehaviour& oCase : aoCases)
    {
        oScripts.push_back(
            [&oCase](FakePeer& a_oPeer)
            {
                a_oPeer.greet();
                a_oPeer.reply(a_oPeer.expect(Operation::GetAccess));
                const wire::Request oRequest = a_oPeer.expect(Operation::GetRowCount);
                a_oPeer.notify("B");
                oCase.m_oAct(a_oPeer, oRequest);
            });
    }
    oScripts.push_back(greetAndStay);
    m_oService.start(oScripts);
    make().initialize();
    EXPECT_THAT(passUntilDelivery(), ElementsAre("A"));
    for (const Misbehaviour& oCase : aoCases)
    {
        SCOPED_TRACE(oCase.m_pName);
        auto& oClient = m_pConnection->getConfigClient();
        ASSERT_EQ(oClient.getdbaccess(), 0U);
        unsigned uiCount = 77;
        EXPECT_EQ(count(uiCount), static_cast<unsigned>(oCase.m_eResult));
        EXPECT_EQ(uiCount, 77U);
        EXPECT_FALSE(oClient.hasdbaccess());
        EXPECT_EQ(count(uiCount), static_cast<unsigned>(Result::Disconnected));
        std::string strWhy;
        oClient.getlasterror(strWhy);
        EXPECT_THAT(strWhy, HasSubstr("lost ("));
        m_pConnection->process();
        EXPECT_THAT(m_oHandler.takeLoaded(), IsEmpty()) << "a handler cannot read anything now";
        EXPECT_THAT(passUntilDelivery(), ElementsAre("A", "B", "C"));
    }
    EXPECT_GE(m_oHandler.m_iServiceEvents, 7);
}

TEST_F(Connection, AReturnDeliversWhatIsNotAsTheHandlerReadIt)
{
    m_oService.start({[](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          giveDigests(a_oPeer, {"1", "1", "1"});
                          a_oPeer.reply(a_oPeer.expect(Operation::GetRowCount));
                      },
                      [](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          giveDigests(a_oPeer, {"1", "2"});
                          a_oPeer.expect(Operation::GetRowCount); // the handler gets no answer
                      },
                      [](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          giveDigests(a_oPeer, {"1", "2"});
                          a_oPeer.reply(a_oPeer.expect(Operation::GetRowCount));
                          giveDigests(a_oPeer, {"1"});
                          a_oPeer.notify("C"); // as it was, but changed meanwhile
                          giveDigests(a_oPeer, {"1"});
                          a_oPeer.reply(a_oPeer.expect(Operation::GetRowCount));
                          a_oPeer.awaitEnd();
                      }});
    m_oHandler.m_oOnLoad = [](auto& a_oClient, const auto&)
    {
        unsigned uiCount = 0;
        static_cast<void>(a_oClient.getrowcount("A", uiCount));
    };
    make().setOnlyDifferent(true);
    m_pConnection->initialize();
    EXPECT_THAT(passUntilDelivery(), ElementsAre("A")) << "which loads everything";
    EXPECT_THAT(passUntilDelivery(), ElementsAre("B"));
    EXPECT_THAT(passUntilDelivery(), ElementsAre("B"));
    EXPECT_THAT(passUntilDelivery(), ElementsAre("C"));
}

// Each silent connection blocks its caller for the whole time limit, so those must become rare as well.
TEST_F(Connection, ServiceThatOnlyGreetsIsAskedLessAndLess)
{
    m_uiRetryDelayMs = 100;
    m_oLimits.m_oRequest = 250ms;
    for (const bool bSilent : {false, true})
    {
        const FakeService::Script oScript = [bSilent](FakePeer& a_oPeer)
        {
            a_oPeer.greet();
            bSilent&& a_oPeer.awaitEnd();
        };
        std::atomic<bool> bFourth{false};
        m_oService.start({oScript, oScript, oScript, [&](FakePeer&) { bFourth = true; }});
        make().initialize();
        const auto oStart = std::chrono::steady_clock::now();
        unsigned uiCount = 0;
        for (const platform::Deadline oEnd(5s); !bFourth && !oEnd.hasPassed(); m_oLoop.wait(20))
        {
            (void)count(uiCount);
        }
        EXPECT_TRUE(bFourth);
        // 100 + 200 + 400 in all; 300 without doubling. Three silent requests take 750 more.
        EXPECT_GE(std::chrono::steady_clock::now() - oStart, bSilent ? 1350ms : 600ms);
        m_pConnection.reset();
        m_oService.awaitLastScript();
    }
}

TEST_F(Connection, RequestsAloneNoticeALostServiceAndItsReturn)
{
    m_oService.start({[](FakePeer& a_oPeer) { a_oPeer.greet(); }});
    make().initialize();
    m_oService.awaitLastScript();
    unsigned uiCount = 0;
    EXPECT_EQ(count(uiCount), static_cast<unsigned>(Result::Disconnected));
    m_oService.start({[](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          a_oPeer.reply(a_oPeer.expect(Operation::GetRowCount), 5);
                      }});
    for (const platform::Deadline oEnd(5s); count(uiCount) != 0U && !oEnd.hasPassed();)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(uiCount, 5U);
}

TEST_F(Connection, LargeRequestsAreSentWholeAndTooLargeOnesNotAtAll)
{
    m_oService.start({[](FakePeer& a_oPeer)
                      {
                          a_oPeer.greet();
                          const wire::Request oInsert = a_oPeer.expect(Operation::InsertRow);
                          const bool bWhole = oInsert.m_oValues.getValue("Url").getText() == std::string(1000000, 'u');
                          a_oPeer.reply(oInsert, 0, bWhole ? Result::Ok : Result::WrongType);
                          a_oPeer.reply(a_oPeer.expect(Operation::GetRowCount));
                          a_oPeer.awaitEnd();
                      }});
    make().initialize();
    const auto insert = [this](std::size_t a_uiSize)
    {
        const auto oRow = samples::row({{"Url", samples::text(std::string(a_uiSize, 'u'))}});
        return m_pConnection->getConfigClient().insertrow("A", oRow);
    };
    EXPECT_EQ(insert(1000000), 0U);
    EXPECT_EQ(insert(2000000), static_cast<unsigned>(Result::TooLarge));
    unsigned uiCount = 0;
    EXPECT_EQ(count(uiCount), 0U);
}

TEST_F(Connection, InitializeSaysWhyTheServiceCannotBeReached)
{
    EXPECT_EQ(initializeText(0),
              "Cannot reach the configuration service at '" + m_oService.getPath() + "': No such file or directory");
    EXPECT_THAT(initializeText(1), HasSubstr("No such file or directory"));
    m_oService.start({[](FakePeer& a_oPeer) { a_oPeer.reply(a_oPeer.expect(Operation::Hello), 0, Result::BadRequest); },
                      [](FakePeer& a_oPeer) { a_oPeer.awaitEnd(); }});
    EXPECT_THAT(initializeText(0), HasSubstr("it refused this client: refused by the test"));
    m_oLimits.m_oRequest = 50ms;
    EXPECT_THAT(initializeText(0), HasSubstr("no answer to the greeting in time"));
}

TEST_F(Connection, AnUntrustedUserIsSentNothing)
{
    std::promise<bool> oSilent;
    m_oService.start({[&](FakePeer& a_oPeer) { oSilent.set_value(a_oPeer.awaitEnd()); }});
    m_oLimits.m_oIsTrusted = [](uid_t a_uiUser)
    {
        EXPECT_EQ(a_uiUser, geteuid());
        return false;
    };
    EXPECT_EQ(initializeText(0),
              "The configuration service at '" + m_oService.getPath() + "' runs as user " + std::to_string(geteuid()) +
                  ", which is not trusted.");
    EXPECT_TRUE(oSilent.get_future().get());
}

TEST_F(Connection, WakeUpEndsInitializeAndTheServiceIsFoundLater)
{
    m_oLoop.wakeUp(); // remembered until the wait
    EXPECT_NO_THROW(make(30).initialize());
    m_oService.start({greetAndStay});
    EXPECT_THAT(passUntilDelivery(), ElementsAre("A", "B", "C"));
}

TEST(Backoff, DoublesUpToItsLimitAndNeverSpins)
{
    platform::Backoff oBackoff(500ms, 30s);
    for (const auto oPause : {500ms, 1000ms, 2000ms, 4000ms, 8000ms, 16000ms, 30000ms, 30000ms})
    {
        EXPECT_EQ(oBackoff.take(), oPause);
    }
    oBackoff.restart();
    EXPECT_EQ(oBackoff.take(), 500ms);
    EXPECT_GE(platform::Backoff(0ms, 0ms).take(), 1ms);
}

} // namespace
