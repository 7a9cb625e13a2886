#pragma once

#include <chrono>

namespace vadro::cfg
{

/// Pauses between tries: the first, then twice the one before, up to a limit.
class Backoff
{
public:
    /// A first pause below 10 ms is raised to that, so that tries never spin.
    Backoff(std::chrono::milliseconds a_oFirst, std::chrono::milliseconds a_oMost);

    /// The pause to make now; the next one will be longer.
    [[nodiscard]] std::chrono::milliseconds take();
    [[nodiscard]] std::chrono::milliseconds peek() const { return m_oNext; }
    void restart() { m_oNext = m_oFirst; }

private:
    std::chrono::milliseconds m_oFirst;
    std::chrono::milliseconds m_oMost;
    std::chrono::milliseconds m_oNext;
};

} // namespace vadro::cfg
