#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace cfgserver
{

/// RateLimitedLog about clients, at most ten in ten seconds: whoever misbehaves on purpose must not fill the log. The
/// next line that is written says how many were left out.
class RateLimitedLog
{
public:
    using Clock = std::chrono::steady_clock;

    explicit RateLimitedLog(std::uint32_t a_uiModuleId) : m_iModuleId(a_uiModuleId) {}

    void write(Clock::time_point a_oNow, unsigned a_uiLine, const std::string& a_strText);

private:
    std::uint32_t m_iModuleId;
    Clock::time_point m_oStart; // of the present ten seconds
    unsigned m_uiWritten = 0;   // in them
    unsigned m_uiLeftOut = 0;
};

} // namespace cfgserver
