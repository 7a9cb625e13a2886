#pragma once

#include "platform/base/eventloop.h"
#include "platform/base/uniquefd.h"

#include <chrono>
#include <functional>

namespace vadro::cfg
{

/// Calls back once from within the event loop, after a time on the monotonic clock. The loop must outlive it.
class Timer
{
public:
    /// Throws std::system_error when the kernel grants no descriptor.
    Timer(platform::EventLoop& a_oLoop, std::function<void()> a_oCallback);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Replaces the time that was set before.
    void start(std::chrono::milliseconds a_oFromNow);
    void stop();

private:
    void set(std::chrono::nanoseconds a_oFromNow);
    [[nodiscard]] bool acknowledge() const;

    platform::EventLoop& m_oLoop;
    platform::UniqueFd m_oFd;
};

} // namespace vadro::cfg
