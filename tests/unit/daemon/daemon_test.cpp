#include "daemon/environment.h"
#include "daemon/signals.h"
#include "korrin/net/eventdispatcher.h"
#include "tests/unit/support/logcapture.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <unistd.h>

using namespace quorvad;
using testing::AllOf;
using testing::HasSubstr;

namespace
{

class SignalsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        installSignalHandlers();
        loggedNow();
        g_bTerminate = false;
    }
    void TearDown() override { g_bTerminate = false; }

    std::string loggedNow()
    {
        logRecordedSignals();
        return m_oLog.take();
    }

    /// How many seconds a wait of a minute takes.
    static double waitedSeconds(korrin::net::EventDispatcher& a_oDispatcher)
    {
        const auto oStart = std::chrono::steady_clock::now();
        a_oDispatcher.handleEvents(60000);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - oStart).count();
    }

    LogCapture m_oLog;
};

} // namespace

TEST_F(SignalsTest, EndAWaitWheneverTheyArrive)
{
    korrin::net::EventDispatcher oDispatcher;
    {
        const DispatcherWakeUp oWakeUp(oDispatcher);
        std::thread([] { raise(SIGTERM); }).join(); // on another thread, before the wait begins
        EXPECT_LT(waitedSeconds(oDispatcher), 30);
        std::thread oLate(
            []
            {
                usleep(20000);
                raise(SIGINT);
            });
        EXPECT_LT(waitedSeconds(oDispatcher), 30);
        oLate.join();
        g_bLoopRuns = true;
        std::thread([] { raise(SIGPIPE); }).join();
        g_bLoopRuns = false;
        EXPECT_LT(waitedSeconds(oDispatcher), 30);
    }
    raise(SIGINT);                               // nothing to wake any more
    const DispatcherWakeUp oWakeUp(oDispatcher); // the stop request is still pending
    EXPECT_LT(waitedSeconds(oDispatcher), 30);
}

TEST_F(SignalsTest, StopSignalsAreHandledOnceUnblockedEvenIfBlockedAtStart)
{
    sigset_t oTerm;
    sigemptyset(&oTerm);
    sigaddset(&oTerm, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &oTerm, nullptr);
    {
        const platform::StopSignalBlock oBlock(platform::StopSignalBlock::AtEnd::Unblock);
        raise(SIGTERM);
        raise(SIGINT);
        EXPECT_FALSE(g_bTerminate);
    }
    EXPECT_TRUE(g_bTerminate);
    EXPECT_THAT(loggedNow(), AllOf(HasSubstr("signal: 15"), HasSubstr("signal: 2")));
}

TEST(Environment, LosesVariablesThatBypassTheInterface)
{
    for (const char* pName : {"https_proxy", "ALL_PROXY", "no_proxy", "SSLKEYLOGFILE"})
    {
        setenv(pName, "x", 1);
        cleanEnvironment();
        EXPECT_EQ(getenv(pName), nullptr) << pName;
    }
}
