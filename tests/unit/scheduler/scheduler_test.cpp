#include "scheduler/scheduler.h"

#include "actions/action.h"
#include "actions/error.h"
#include "tests/unit/support/logcapture.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <functional>
#include <new>
#include <stdexcept>

using namespace quorvad;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ContainsRegex;

namespace
{

/// Calls the function with the number of the try, from 1.
class CountingAction : public Action
{
public:
    explicit CountingAction(std::function<bool(int)> a_oTry) : m_oTry(std::move(a_oTry)) {}
    bool execute() override { return m_oTry(++m_iTries); }

    std::function<bool(int)> m_oTry;
    std::atomic<int> m_iTries{0};
};

bool stopSignalsBlocked()
{
    sigset_t oMask;
    pthread_sigmask(SIG_SETMASK, nullptr, &oMask);
    return sigismember(&oMask, SIGINT) == 1 && sigismember(&oMask, SIGTERM) == 1 && sigismember(&oMask, SIGQUIT) == 1;
}

} // namespace

// All at once, because the clock is checked only every 4 seconds.
TEST(Scheduler, TriesUntilSuccessOrTheEndOfItsTries)
{
    struct Case
    {
        int m_iPeriodSec;
        int m_iRetries;
        std::function<bool(int)> m_oTry;
        int m_iTries;
        std::shared_ptr<CountingAction> m_pAction{};
        std::unique_ptr<Scheduler> m_pScheduler{};
    };
    Case aoCases[] = {{0, 3, [](int) { return stopSignalsBlocked(); }, 1},
                      {0, 3, [](int a_iTry) { return a_iTry == 2; }, 2},
                      {1, 2, [](int) { return false; }, 2},
                      {0, 2, [](int) -> bool { throw Error(Error::CurlEasyPerformFailed); }, 2},
                      {0, 2, [](int) -> bool { throw std::runtime_error("odd"); }, 2},
                      {0, 2, [](int) -> bool { throw 7; }, 2},
                      {0, 0, [](int) { return true; }, 0},
                      {0, -1, [](int) { return true; }, 0},
                      {INT_MAX, 1, [](int) { return true; }, 0}};
    Case& oFar = aoCases[std::size(aoCases) - 1];
    LogCapture oLog;
    Scheduler oWithoutAction(0, 1, nullptr);
    for (Case& oCase : aoCases)
    {
        oCase.m_pAction = std::make_shared<CountingAction>(oCase.m_oTry);
        oCase.m_pScheduler = std::make_unique<Scheduler>(oCase.m_iPeriodSec, oCase.m_iRetries, oCase.m_pAction);
    }
    oWithoutAction.m_oThread.join();
    for (const Case& oCase : aoCases)
    {
        const auto oBegin = std::chrono::steady_clock::now();
        &oCase == &oFar ? oFar.m_pScheduler->stop() : oCase.m_pScheduler->m_oThread.join();
        EXPECT_TRUE(&oCase != &oFar || std::chrono::steady_clock::now() - oBegin < 2s) << "stop waited for the slice";
        EXPECT_TRUE(oCase.m_pScheduler->m_bFinished);
        EXPECT_EQ(oCase.m_pAction->m_iTries, oCase.m_iTries);
        oCase.m_pScheduler->stop(); // harmless afterwards
    }
    EXPECT_THROW(oWithoutAction.exec(), std::bad_alloc);
    EXPECT_EQ(oFar.m_pScheduler->m_iPeriodSec, INT_MAX) << "doubling must not wrap";
    EXPECT_FALSE(stopSignalsBlocked()) << "the owner's own mask was to be restored";
    for (const char* pLine : {"debug Built scheduler with 2 retries and 1 seconds as start period",
                              "debug Action succeeded after 1 retries.",
                              "debug Action succeeded after 2 retries.",
                              "debug Action failed, schedule next try in 2 seconds",
                              "debug Action failed, schedule next try in 4 seconds",
                              "error Failed to execute action: 'curl_easy_perform\\(\\) failed'",
                              "error Failed to execute action: 'odd'",
                              "error Failed to execute action: 'unknown exception'",
                              "debug \\([0-9]+\\) run",
                              "debug \\([0-9]+\\) exec",
                              "debug \\([0-9]+\\) stop",
                              "debug \\([0-9]+\\) Timeout => do action...",
                              "debug \\([0-9]+\\) Leave thread func...",
                              "debug \\([0-9]+\\) Thread complete"})
    {
        EXPECT_THAT(oLog.lines(), Contains(ContainsRegex(pLine)));
    }
}
