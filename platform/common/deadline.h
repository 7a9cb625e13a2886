#pragma once

#include <algorithm>
#include <chrono>
#include <climits>

namespace platform
{

/// A moment on the monotonic clock, which steps of the wall clock do not move. Any thread.
class Deadline
{
public:
    explicit Deadline(std::chrono::milliseconds a_oFromNow) : m_oEnd(std::chrono::steady_clock::now() + a_oFromNow) {}

    /// Time left in milliseconds, rounded up so that a wait of that length does not end early; 0 once it has passed.
    [[nodiscard]] int getRemainingMs() const
    {
        const auto oLeft = std::chrono::ceil<std::chrono::milliseconds>(m_oEnd - std::chrono::steady_clock::now());
        return static_cast<int>(std::clamp<long long>(oLeft.count(), 0, INT_MAX));
    }
    [[nodiscard]] bool hasPassed() const { return getRemainingMs() == 0; }

private:
    std::chrono::steady_clock::time_point m_oEnd;
};

} // namespace platform
