#include "platform/base/eventloop.h"

#include "korrin/net/eventdispatcher.h"
#include "platform/base/io.h"
#include "platform/common/log.h"

#include <algorithm>
#include <array>
#include <climits>
#include <system_error>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr char s_acLogFile[] = "eventloop";

[[noreturn]] void throwSystemError(const char* a_pWhat)
{
    throw std::system_error(errno, std::generic_category(), a_pWhat);
}

int control(int a_iEpollFd, int a_iOperation, int a_iFd, std::uint32_t a_uiEvents, std::uint32_t a_uiNumber)
{
    epoll_event oEvent{};
    oEvent.events = a_uiEvents;
    oEvent.data.u64 = static_cast<std::uint64_t>(a_uiNumber) << 32U | static_cast<std::uint32_t>(a_iFd);
    return epoll_ctl(a_iEpollFd, a_iOperation, a_iFd, &oEvent);
}

} // namespace

EventLoop::EventLoop()
    : m_oEpollFd(epoll_create1(EPOLL_CLOEXEC)), m_oWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    if (!m_oEpollFd.isOpen() || !m_oWakeFd.isOpen())
    {
        throwSystemError("event loop: no descriptor granted");
    }
    if (control(m_oEpollFd.get(), EPOLL_CTL_ADD, m_oWakeFd.get(), EPOLLIN, 0) != 0)
    {
        throwSystemError("event loop: cannot watch its own wake-up");
    }
}

void EventLoop::add(int a_iFd, std::uint32_t a_uiEvents, Handler a_oHandler)
{
    Watch oWatch{++m_uiLastNumber, std::make_shared<Handler>(std::move(a_oHandler))};
    const auto [it, bNew] = m_oWatches.try_emplace(a_iFd); // before the kernel knows it: this may run out of memory
    if (control(m_oEpollFd.get(), EPOLL_CTL_ADD, a_iFd, a_uiEvents, oWatch.m_uiNumber) != 0)
    {
        const int iReason = errno;
        if (bNew)
        {
            m_oWatches.erase(it);
        }
        errno = iReason;
        throwSystemError("event loop: cannot watch a descriptor");
    }
    it->second = std::move(oWatch);
}

void EventLoop::modify(int a_iFd, std::uint32_t a_uiEvents)
{
    const auto it = m_oWatches.find(a_iFd);
    const std::uint32_t uiNumber = it != m_oWatches.end() ? it->second.m_uiNumber : 0;
    if (control(m_oEpollFd.get(), EPOLL_CTL_MOD, a_iFd, a_uiEvents, uiNumber) != 0)
    {
        throwSystemError("event loop: cannot change what is waited for");
    }
}

void EventLoop::remove(int a_iFd)
{
    if (m_oWatches.erase(a_iFd) > 0)
    {
        const ErrnoGuard oErrno;
        control(m_oEpollFd.get(), EPOLL_CTL_DEL, a_iFd, 0, 0);
    }
}

bool EventLoop::wait(int a_iTimeoutMs)
{
    std::array<epoll_event, 32> aoEvents;
    const int iCount = epoll_wait(m_oEpollFd.get(), aoEvents.data(), static_cast<int>(aoEvents.size()), a_iTimeoutMs);
    if (iCount < 0 && errno != EINTR)
    {
        throwSystemError("event loop: cannot wait");
    }
    // Whatever ended the wait: after EINTR, too, the signal's handler may have called wakeUp().
    const bool bWoken = drainWakeUps();
    for (int iIndex = 0; iIndex < iCount; ++iIndex)
    {
        dispatch(aoEvents[static_cast<std::size_t>(iIndex)]);
    }
    return bWoken;
}

void EventLoop::dispatch(const epoll_event& a_oEvent)
{
    const auto it = m_oWatches.find(static_cast<int>(static_cast<std::uint32_t>(a_oEvent.data.u64)));
    if (it == m_oWatches.end() || it->second.m_uiNumber != a_oEvent.data.u64 >> 32U)
    {
        return; // the wake-up, or removed by a handler of this round
    }
    const std::shared_ptr<Handler> pHandler = it->second.m_pHandler;
    try
    {
        (*pHandler)(a_oEvent.events);
    }
    catch (const std::exception& oException)
    {
        LOG_ERROR("Event handler failed: %s", oException.what());
    }
    catch (...)
    {
        LOG_ERROR("Event handler failed: unknown exception");
    }
}

void EventLoop::wakeUp() noexcept
{
    const ErrnoGuard oErrno;
    const std::uint64_t uiOne = 1;
    // Fails only when the counter is full, which wakes as well.
    [[maybe_unused]] const ssize_t iWritten = ::write(m_oWakeFd.get(), &uiOne, sizeof uiOne);
}

bool EventLoop::drainWakeUps() noexcept
{
    const ErrnoGuard oErrno;
    std::uint64_t uiCount = 0;
    return ::read(m_oWakeFd.get(), &uiCount, sizeof uiCount) == static_cast<ssize_t>(sizeof uiCount);
}

Timer::Timer(EventLoop& a_oLoop, std::function<void()> a_oCallback)
    : m_oLoop(a_oLoop), m_oFd(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
    if (!m_oFd.isOpen())
    {
        throwSystemError("event loop: no timer granted");
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

} // namespace platform

namespace korrin::net
{

EventDispatcher::EventDispatcher() : m_pLoop(std::make_unique<platform::EventLoop>())
{
}

EventDispatcher::~EventDispatcher() = default;

void EventDispatcher::handleEvents(unsigned int a_uiMilliseconds)
{
    m_pLoop->wait(static_cast<int>(std::min<unsigned int>(a_uiMilliseconds, INT_MAX)));
}

void EventDispatcher::wakeUp() noexcept
{
    m_pLoop->wakeUp();
}

platform::EventLoop& EventDispatcher::getEventLoop()
{
    return *m_pLoop;
}

} // namespace korrin::net
