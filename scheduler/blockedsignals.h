#pragma once

#include <csignal>

namespace quorvad
{

/// While it lives, SIGINT, SIGTERM and SIGQUIT wait on this thread, and threads started meanwhile never take them: a
/// stop signal then always interrupts the main thread. A pending one is delivered when the object goes.
class BlockedSignals
{
public:
    BlockedSignals()
    {
        sigset_t oStopSignals;
        sigemptyset(&oStopSignals);
        sigaddset(&oStopSignals, SIGINT);
        sigaddset(&oStopSignals, SIGTERM);
        sigaddset(&oStopSignals, SIGQUIT);
        pthread_sigmask(SIG_BLOCK, &oStopSignals, &m_oPrevious);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_oPrevious, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t m_oPrevious{};
};

} // namespace quorvad
