#pragma once

#include "platform/base/uniquefd.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

struct epoll_event;

namespace platform
{

/// Waits on file descriptors (epoll, level-triggered) and calls their handlers. One thread owns it; wakeUp() alone may
/// be called from other threads and from signal handlers, as long as the object lives.
class EventLoop
{
public:
    using Handler = std::function<void(std::uint32_t a_uiEvents)>; // EPOLLIN, EPOLLOUT, EPOLLHUP, EPOLLERR

    /// Throws std::system_error when the kernel grants no descriptor.
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Watches a descriptor, which stays the caller's; throws std::system_error when the kernel refuses it (also one
    /// that is watched already, whose handler then stays).
    void add(int a_iFd, std::uint32_t a_uiEvents, Handler a_oHandler);
    /// Changes what is waited for; throws std::system_error unless the descriptor is watched.
    void modify(int a_iFd, std::uint32_t a_uiEvents);
    /// Forgets a descriptor; safe from within any handler, its own included. To be called before the descriptor is
    /// closed. Its handler is not called any more, not even for events that were fetched already. Unknown ones are
    /// ignored.
    void remove(int a_iFd);

    /// Waits for events for at most a_iTimeoutMs (negative: no limit) and runs their handlers. Returns true if
    /// wakeUp() was called since the last call that returned true. EINTR ends the wait like a time-out. What a handler
    /// throws is logged. May be called from within a handler. Throws std::system_error only when the
    /// loop's own descriptor was taken away.
    bool wait(int a_iTimeoutMs);

    /// Makes the current or the next wait return true at once. Async-signal-safe; keeps errno.
    void wakeUp() noexcept;

private:
    // The number tells a descriptor from an earlier one that had the same value: events fetched for a closed connection
    // must not reach the one that was opened in the same round.
    struct Watch
    {
        std::uint32_t m_uiNumber = 0;
        std::shared_ptr<Handler> m_pHandler; // shared: a handler may remove itself while it runs
    };

    void dispatch(const epoll_event& a_oEvent);
    [[nodiscard]] bool drainWakeUps() noexcept;

    UniqueFd m_oEpollFd;
    UniqueFd m_oWakeFd;
    std::uint32_t m_uiLastNumber = 0;
    std::map<int, Watch> m_oWatches;
    std::uint32_t m_iModuleId;
};

/// Calls back once from within the event loop, after a time on the monotonic clock. The loop must outlive it.
class Timer
{
public:
    /// Throws std::system_error when the kernel grants no descriptor.
    Timer(EventLoop& a_oLoop, std::function<void()> a_oCallback);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Replaces the time that was set before.
    void start(std::chrono::milliseconds a_oFromNow);
    void stop();

private:
    void set(std::chrono::nanoseconds a_oFromNow);
    [[nodiscard]] bool acknowledge() const;

    EventLoop& m_oLoop;
    UniqueFd m_oFd;
};

} // namespace platform
