#include "cfgserver/signals.h"

#include <atomic>
#include <csignal>

namespace cfgserver
{

namespace
{

std::atomic<platform::EventLoop*> s_pLoop = nullptr;
std::atomic<int> s_iStopSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<void*>::is_always_lock_free);

void noteStop(int a_iSignal)
{
    s_iStopSignal = a_iSignal;
    if (platform::EventLoop* pLoop = s_pLoop)
    {
        pLoop->wakeUp();
    }
}

void handle(int a_iSignal, void (*a_pHandler)(int))
{
    struct sigaction oAction = {};
    oAction.sa_handler = a_pHandler; // NOLINT(cppcoreguidelines-pro-type-union-access): the kernel's interface
    sigemptyset(&oAction.sa_mask);
    oAction.sa_flags = SA_RESTART;
    ::sigaction(a_iSignal, &oAction, nullptr);
}

} // namespace

Signals::Signals(platform::EventLoop& a_oLoop, bool a_bForeground)
{
    s_pLoop = &a_oLoop;
    for (const int iSignal : {SIGINT, SIGTERM, SIGQUIT})
    {
        handle(iSignal, noteStop);
    }
    handle(SIGHUP, a_bForeground ? noteStop : SIG_IGN);
    handle(SIGPIPE, SIG_IGN);
    handle(SIGXFSZ, SIG_IGN);
}

Signals::~Signals()
{
    s_pLoop = nullptr;
}

int Signals::getStopSignal() const
{
    return s_iStopSignal;
}

} // namespace cfgserver
