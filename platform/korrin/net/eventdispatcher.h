#pragma once

#include <memory>

namespace platform
{
class EventLoop;
}

namespace korrin::net
{

/// Waits for socket events of the configuration client and runs their handlers on the waiting thread.
class EventDispatcher
{
public:
    /// Throws std::runtime_error with the system's reason when the kernel grants no descriptor.
    EventDispatcher();
    ~EventDispatcher();
    EventDispatcher(const EventDispatcher&) = delete;
    EventDispatcher& operator=(const EventDispatcher&) = delete;

    /// Blocks until an event was handled, wakeUp() was called (since the last wait ended, too), a signal handler
    /// ran on this thread, or a_uiMilliseconds have passed. Main thread only.
    void handleEvents(unsigned int a_uiMilliseconds);

    /// Ends the current or the next handleEvents at once. Async-signal-safe, callable from any thread, keeps errno.
    void wakeUp() noexcept;

    /// The descriptor loop behind this dispatcher, for the configuration client only.
    platform::EventLoop& getEventLoop();

private:
    std::unique_ptr<platform::EventLoop> m_pLoop;
};

} // namespace korrin::net
