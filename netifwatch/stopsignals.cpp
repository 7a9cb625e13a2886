#include "netifwatch/stopsignals.h"

#include <cerrno>
#include <csignal>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <system_error>

namespace netifwatch
{

namespace
{

int openSignals(bool a_bForeground)
{
    sigset_t oSignals;
    sigemptyset(&oSignals);
    for (const int iSignal : {SIGINT, SIGTERM, SIGQUIT})
    {
        sigaddset(&oSignals, iSignal);
    }
    if (a_bForeground)
    {
        sigaddset(&oSignals, SIGHUP);
    }
    else
    {
        std::signal(SIGHUP, SIG_IGN);
    }
    std::signal(SIGPIPE, SIG_IGN);
    sigprocmask(SIG_BLOCK, &oSignals, nullptr); // NOLINT(concurrency-mt-unsafe): one thread
    return signalfd(-1, &oSignals, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

StopSignals::StopSignals(platform::EventLoop& a_oLoop, bool a_bForeground)
    : m_oLoop(a_oLoop), m_oSignals(openSignals(a_bForeground))
{
    if (!m_oSignals.isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "can't wait for signals");
    }
    m_oLoop.add(m_oSignals.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

StopSignals::~StopSignals()
{
    m_oLoop.remove(m_oSignals.get());
}

void StopSignals::onReadable()
{
    signalfd_siginfo oSignal = {};
    if (read(m_oSignals.get(), &oSignal, sizeof oSignal) == static_cast<ssize_t>(sizeof oSignal))
    {
        m_iSignal = static_cast<int>(oSignal.ssi_signo);
        m_oLoop.wakeUp(); // also out of the wait for the service
    }
}

} // namespace netifwatch
