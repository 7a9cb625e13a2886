#include "platform/client/timer.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace vadro::cfg
{

Timer::Timer(platform::EventLoop& a_oLoop, std::function<void()> a_oCallback)
    : m_oLoop(a_oLoop), m_oFd(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
    if (!m_oFd.isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "configuration client: no timer granted");
    }
    m_oLoop.add(m_oFd.get(),
                EPOLLIN,
                [this, oCallback = std::move(a_oCallback)](std::uint32_t)
                {
                    if (acknowledge())
                    {
                        oCallback();
                    }
                });
}

Timer::~Timer()
{
    m_oLoop.remove(m_oFd.get());
}

void Timer::start(std::chrono::milliseconds a_oFromNow)
{
    set(std::max<std::chrono::nanoseconds>(a_oFromNow, std::chrono::nanoseconds(1))); // 0 would stop it
}

void Timer::stop()
{
    set(std::chrono::nanoseconds(0));
}

void Timer::set(std::chrono::nanoseconds a_oFromNow)
{
    const auto oSeconds = std::chrono::duration_cast<std::chrono::seconds>(a_oFromNow);
    itimerspec oTime{};
    oTime.it_value.tv_sec = static_cast<time_t>(oSeconds.count()); // 32 bits on some machines, far more than any wait
    oTime.it_value.tv_nsec = static_cast<long>((a_oFromNow - oSeconds).count());
    ::timerfd_settime(m_oFd.get(), 0, &oTime, nullptr); // fails for a bad descriptor or time only
}

// False when the timer was stopped or set anew after the loop had seen it expire.
bool Timer::acknowledge() const
{
    std::uint64_t uiExpirations = 0;
    return ::read(m_oFd.get(), &uiExpirations, sizeof uiExpirations) == static_cast<ssize_t>(sizeof uiExpirations);
}

} // namespace vadro::cfg
