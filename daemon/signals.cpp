#include "daemon/signals.h"

#include "korrin/net/eventdispatcher.h"
#include "platform/common/log.h"

#include <csignal>

namespace quorvad
{

std::atomic<bool> g_bTerminate{false};
std::atomic<bool> g_bLoopRuns{false};
std::uint32_t g_iModuleId = 0;

namespace
{

constexpr char s_acLogFile[] = "main";

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch lock-free atomics only");

// If the kit's dispatcher has no wake-up, a signal on the main thread still ends its wait with EINTR.
template<typename Dispatcher>
auto wake(Dispatcher& a_oDispatcher, int /*a_iPreferred*/) -> decltype(a_oDispatcher.wakeUp(), void())
{
    a_oDispatcher.wakeUp();
}

template<typename Dispatcher>
void wake(Dispatcher& /*a_oDispatcher*/, long /*a_iFallback*/)
{
}

void wakeDispatcher(void* a_pDispatcher)
{
    wake(*static_cast<korrin::net::EventDispatcher*>(a_pDispatcher), 0);
}

} // namespace

void onTerminateSignal(int a_iSignal)
{
    // The loop checks the record again after it has seen the request, and the wake-up makes both visible.
    platform::recordSignal(a_iSignal);
    g_bTerminate.store(true);
    platform::wakeLoop();
}

// Before the loop runs, a wake-up would end the wait for a service that is away: the first pass writes the line then.
void onSigPipe(int /*a_iSignal*/)
{
    platform::recordSignal(SIGPIPE);
    if (g_bLoopRuns.load())
    {
        platform::wakeLoop();
    }
}

void installSignalHandlers()
{
    for (const int iSignal : platform::g_aiStopSignals)
    {
        platform::handleSignal(iSignal, onTerminateSignal, 0); // no SA_RESTART: a wait of the main loop is to end
    }
    platform::handleSignal(SIGPIPE, onSigPipe, 0);
}

void logRecordedSignals()
{
    const unsigned uiRecorded = platform::takeRecordedSignals();
    for (const int iSignal : platform::g_aiStopSignals)
    {
        if ((uiRecorded & platform::signalBit(iSignal)) != 0)
        {
            LOG_TO(g_iModuleId, info, "Terminating on signal: %d", iSignal);
        }
    }
    if ((uiRecorded & platform::signalBit(SIGPIPE)) != 0)
    {
        LOG_TO(g_iModuleId, warning, "Received SIGPIPE");
    }
}

DispatcherWakeUp::DispatcherWakeUp(korrin::net::EventDispatcher& a_oDispatcher)
    : m_oWakeUp(wakeDispatcher, &a_oDispatcher)
{
    if (g_bTerminate.load())
    {
        platform::wakeLoop(); // the signal came before there was anything to wake
    }
}

} // namespace quorvad
