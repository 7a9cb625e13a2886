#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace netifwatch
{

/// When to look after hints that something changed: shortly after the last one, so that related changes are written
/// together, but no later than a longer time after the first. Pure but for its state.
class Debounce
{
public:
    using Clock = std::chrono::steady_clock;

    Debounce(std::chrono::milliseconds a_oQuiet, std::chrono::milliseconds a_oLongest)
        : m_oQuiet(a_oQuiet), m_oLongest(a_oLongest)
    {
    }

    /// Notes a hint; returns when the look is due.
    Clock::time_point note(Clock::time_point a_oNow)
    {
        m_oFirst = m_oFirst.value_or(a_oNow);
        return std::min(a_oNow + m_oQuiet, *m_oFirst + m_oLongest);
    }
    /// The look was taken.
    void reset() { m_oFirst.reset(); }

private:
    std::chrono::milliseconds m_oQuiet;
    std::chrono::milliseconds m_oLongest;
    std::optional<Clock::time_point> m_oFirst;
};

} // namespace netifwatch
