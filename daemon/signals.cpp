#include "daemon/signals.h"

#include "korrin/net/eventdispatcher.h"
#include "platform/common/log.h"

#include <array>
#include <cerrno>
#include <pthread.h>

namespace quorvad
{

std::atomic<bool> g_bTerminate{false};
std::atomic<bool> g_bLoopRuns{false};
std::uint32_t g_iModuleId = 0;

namespace
{

constexpr char s_acLogFile[] = "main";

static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free &&
                  std::atomic<korrin::net::EventDispatcher*>::is_always_lock_free,
              "a signal handler may touch lock-free atomics only");

constexpr std::array<int, 3> s_oStopSignals = {SIGINT, SIGTERM, SIGQUIT};

std::atomic<unsigned> s_uiRecorded{0}; // bit n: signal n came since it was last looked at
std::atomic<korrin::net::EventDispatcher*> s_pDispatcher{nullptr};

constexpr unsigned signalBit(int a_iSignal)
{
    return 1U << static_cast<unsigned>(a_iSignal);
}

// A kit whose dispatcher can't be woken still ends its wait with EINTR where the signal arrives on the main thread.
template<typename Dispatcher>
auto wake(Dispatcher& a_oDispatcher, int /*a_iPreferred*/) -> decltype(a_oDispatcher.wakeUp(), void())
{
    a_oDispatcher.wakeUp();
}

template<typename Dispatcher>
void wake(Dispatcher& /*a_oDispatcher*/, long /*a_iFallback*/)
{
}

void recordSignal(int a_iSignal)
{
    s_uiRecorded.fetch_or(signalBit(a_iSignal));
}

void wakeDispatcher()
{
    const int iErrno = errno;
    korrin::net::EventDispatcher* pDispatcher = s_pDispatcher.load();
    if (pDispatcher != nullptr)
    {
        wake(*pDispatcher, 0);
    }
    errno = iErrno;
}

void installHandler(int a_iSignal, void (*a_pHandler)(int))
{
    struct sigaction oAction = {};
    oAction.sa_handler = a_pHandler;
    sigemptyset(&oAction.sa_mask);
    oAction.sa_flags = 0; // no SA_RESTART: a wait of the main loop is to end
    sigaction(a_iSignal, &oAction, nullptr);
}

} // namespace

void onTerminateSignal(int a_iSignal)
{
    recordSignal(a_iSignal); // before the loop can see the request and leave: it looks at the record once more then
    g_bTerminate.store(true);
    wakeDispatcher(); // last, so that the woken loop sees both
}

// Before the loop runs, a wake-up would end the wait for a service that is away: the first pass writes the line then.
void onSigPipe(int /*a_iSignal*/)
{
    recordSignal(SIGPIPE);
    if (g_bLoopRuns.load())
    {
        wakeDispatcher();
    }
}

void installSignalHandlers()
{
    for (const int iSignal : s_oStopSignals)
    {
        installHandler(iSignal, onTerminateSignal);
    }
    installHandler(SIGPIPE, onSigPipe);
}

void logRecordedSignals()
{
    const unsigned uiRecorded = s_uiRecorded.exchange(0);
    for (const int iSignal : s_oStopSignals)
    {
        if ((uiRecorded & signalBit(iSignal)) != 0)
        {
            LOG_TO(g_iModuleId, info, "Terminating on signal: %d", iSignal);
        }
    }
    if ((uiRecorded & signalBit(SIGPIPE)) != 0)
    {
        LOG_TO(g_iModuleId, warning, "Received SIGPIPE");
    }
}

StopSignalBlock::StopSignalBlock() : m_oStopSignals()
{
    sigemptyset(&m_oStopSignals);
    for (const int iSignal : s_oStopSignals)
    {
        sigaddset(&m_oStopSignals, iSignal);
    }
    pthread_sigmask(SIG_BLOCK, &m_oStopSignals, nullptr);
}

StopSignalBlock::~StopSignalBlock()
{
    pthread_sigmask(SIG_UNBLOCK, &m_oStopSignals, nullptr);
}

DispatcherWakeUp::DispatcherWakeUp(korrin::net::EventDispatcher& a_oDispatcher)
{
    s_pDispatcher.store(&a_oDispatcher);
    if (g_bTerminate.load())
    {
        wake(a_oDispatcher, 0); // the signal came while there was nothing to wake yet
    }
}

DispatcherWakeUp::~DispatcherWakeUp()
{
    s_pDispatcher.store(nullptr);
}

} // namespace quorvad
