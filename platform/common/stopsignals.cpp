#include "platform/common/stopsignals.h"

#include <atomic>
#include <cerrno>
#include <pthread.h>

namespace platform
{

namespace
{

using Wake = void (*)(void*);

std::atomic<unsigned> s_uiRecorded{0};
std::atomic<int> s_iStopSignal{0};
std::atomic<Wake> s_pWake{nullptr};
std::atomic<void*> s_pLoop{nullptr};
static_assert(std::atomic<unsigned>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
                  std::atomic<Wake>::is_always_lock_free && std::atomic<void*>::is_always_lock_free,
              "a signal handler may touch lock-free atomics only");

void onStopSignal(int a_iSignal)
{
    s_iStopSignal.store(a_iSignal);
    wakeLoop();
}

sigset_t makeStopSet()
{
    sigset_t oSignals;
    sigemptyset(&oSignals);
    for (const int iSignal : g_aiStopSignals)
    {
        sigaddset(&oSignals, iSignal);
    }
    return oSignals;
}

} // namespace

void recordSignal(int a_iSignal) noexcept
{
    s_uiRecorded.fetch_or(signalBit(a_iSignal));
}

void wakeLoop() noexcept
{
    const int iErrno = errno;
    void* pLoop = s_pLoop.load();
    if (pLoop != nullptr)
    {
        s_pWake.load()(pLoop);
    }
    errno = iErrno;
}

unsigned takeRecordedSignals()
{
    return s_uiRecorded.exchange(0);
}

void handleSignal(int a_iSignal, void (*a_pHandler)(int), int a_iFlags)
{
    struct sigaction oAction = {};
    oAction.sa_handler = a_pHandler; // NOLINT(cppcoreguidelines-pro-type-union-access): the kernel's interface
    sigemptyset(&oAction.sa_mask);
    oAction.sa_flags = a_iFlags;
    sigaction(a_iSignal, &oAction, nullptr);
}

void ignoreSignals(std::initializer_list<int> a_oSignals)
{
    for (const int iSignal : a_oSignals)
    {
        handleSignal(iSignal, SIG_IGN, 0);
    }
}

LoopWakeUp::LoopWakeUp(void (*a_pWake)(void* a_pLoop), void* a_pLoop)
{
    s_pWake.store(a_pWake);
    s_pLoop.store(a_pLoop);
}

LoopWakeUp::~LoopWakeUp()
{
    s_pLoop.store(nullptr);
}

StopSignalBlock::StopSignalBlock(AtEnd a_eAtEnd) : m_eAtEnd(a_eAtEnd)
{
    const sigset_t oStopSignals = makeStopSet();
    pthread_sigmask(SIG_BLOCK, &oStopSignals, &m_oMask);
    if (m_eAtEnd == AtEnd::Unblock)
    {
        m_oMask = oStopSignals;
    }
}

StopSignalBlock::~StopSignalBlock()
{
    pthread_sigmask(m_eAtEnd == AtEnd::Unblock ? SIG_UNBLOCK : SIG_SETMASK, &m_oMask, nullptr);
}

void StopSignals::install(std::initializer_list<int> a_oMore)
{
    sigset_t oSignals = makeStopSet();
    for (const int iSignal : g_aiStopSignals)
    {
        handleSignal(iSignal, onStopSignal, SA_RESTART);
    }
    for (const int iSignal : a_oMore)
    {
        handleSignal(iSignal, onStopSignal, SA_RESTART);
        sigaddset(&oSignals, iSignal);
    }
    pthread_sigmask(SIG_UNBLOCK, &oSignals, nullptr);
}

int StopSignals::getStopSignal() const
{
    return s_iStopSignal.load();
}

} // namespace platform
