#include "korrin/net/eventdispatcher.h"
#include "platform/base/eventloop.h"

#include "tests/unit/support/logcapture.h"

#include <climits>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <sys/epoll.h>
#include <sys/time.h>

using korrin::net::EventDispatcher;
using platform::EventLoop;
using platform::UniqueFd;
using namespace std::chrono_literals;

namespace
{

constexpr int s_iForEverMs = 1000000; // beyond the test's time limit: a wait that nothing ends fails
EventDispatcher* s_pDispatcher = nullptr;

// The read end of a pipe without a writer, which is always ready.
int makeReadyPipe()
{
    int aiFd[2];
    EXPECT_EQ(0, pipe(aiFd));
    close(aiFd[1]);
    return aiFd[0];
}

} // namespace

TEST(EventLoop, WakeUpIsKeptForTheNextWaitAndTakenOnce)
{
    EventLoop oLoop;
    const UniqueFd oPipe(makeReadyPipe());
    oLoop.wakeUp();
    oLoop.wakeUp();
    EXPECT_TRUE(oLoop.wait(s_iForEverMs));
    EXPECT_FALSE(oLoop.wait(0));
    oLoop.add(oPipe.get(), EPOLLIN, [&](std::uint32_t) { oLoop.remove(oPipe.get()), oLoop.wakeUp(); });
    EXPECT_FALSE(oLoop.wait(s_iForEverMs));
    EXPECT_TRUE(oLoop.wait(s_iForEverMs));
}

TEST(EventDispatcher, IsWokenByThreadsAndLongWaitsSaturate)
{
    EventDispatcher oDispatcher;
    for (const unsigned uiMs : {static_cast<unsigned>(INT_MAX) + 1U, UINT_MAX})
    {
        const auto oStart = std::chrono::steady_clock::now();
        std::thread oThread([&] { std::this_thread::sleep_for(5ms), oDispatcher.wakeUp(); });
        oDispatcher.handleEvents(uiMs);
        EXPECT_GE(std::chrono::steady_clock::now() - oStart, 5ms) << uiMs;
        oThread.join();
    }
}

// One signal per wait, mostly just before or after the wait begins: no wait may miss it.
TEST(EventDispatcher, SignalHandlerEndsEveryWait)
{
    EventDispatcher oDispatcher;
    s_pDispatcher = &oDispatcher;
    struct sigaction oAction = {};
    oAction.sa_handler = [](int) { s_pDispatcher->wakeUp(); };
    sigaction(SIGALRM, &oAction, nullptr);
    for (int iRound = 0; iRound < 3000; ++iRound)
    {
        itimerval oOnce{};
        oOnce.it_value.tv_usec = 1 + iRound % 40;
        setitimer(ITIMER_REAL, &oOnce, nullptr);
        oDispatcher.handleEvents(s_iForEverMs);
    }
}

// Two connections fail at once; the first handler closes both, or replaces the other by a new one with the same
// descriptor.
TEST(EventLoop, EventsOfARemovedDescriptorReachNeitherItsHandlerNorItsSuccessor)
{
    const UniqueFd oNew(makeReadyPipe());
    for (const bool bReplace : {false, true})
    {
        EventLoop oLoop;
        const UniqueFd oFirst(makeReadyPipe());
        const UniqueFd oSecond(makeReadyPipe());
        int iCalls = 0;
        int iSuccessorCalls = 0;
        const auto oRemove = [&](int a_iOwn, int a_iOther)
        {
            ++iCalls;
            oLoop.remove(a_iOther);
            if (bReplace)
            {
                dup2(oNew.get(), a_iOther);
                oLoop.add(a_iOther, EPOLLIN, [&](std::uint32_t) { ++iSuccessorCalls; });
            }
            oLoop.remove(a_iOwn);
        };
        oLoop.add(oFirst.get(), EPOLLIN, [&](std::uint32_t) { oRemove(oFirst.get(), oSecond.get()); });
        oLoop.add(oSecond.get(), EPOLLIN, [&](std::uint32_t) { oRemove(oSecond.get(), oFirst.get()); });
        oLoop.wait(s_iForEverMs);
        EXPECT_EQ(1, iCalls);
        EXPECT_EQ(0, iSuccessorCalls);
    }
}

TEST(EventLoop, ThrowingHandlersAreLoggedAndOthersStillRun)
{
    EventLoop oLoop;
    LogCapture oCapture;
    const UniqueFd aoPipes[] = {UniqueFd(makeReadyPipe()), UniqueFd(makeReadyPipe())};
    int iCalls = 0;
    oLoop.add(aoPipes[0].get(), EPOLLIN, [](std::uint32_t) { throw std::runtime_error("no luck"); });
    oLoop.add(aoPipes[1].get(), EPOLLIN, [&](std::uint32_t) { ++iCalls; });
    oLoop.wait(s_iForEverMs);
    EXPECT_EQ(1, iCalls);
    EXPECT_NE(std::string::npos, oCapture.take().find("Event handler failed: no luck\n"));
}
