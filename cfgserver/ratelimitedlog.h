#pragma once

#include "platform/common/deadline.h"
#include "vadro/sysloglevel.h"

#include <cstdint>
#include <string>

namespace cfgserver
{

/// Warnings about clients, at most ten in ten seconds, so that nobody can fill the log on purpose. The next line says
/// how many were left out.
class RateLimitedLog
{
public:
    explicit RateLimitedLog(std::uint32_t a_uiModuleId) : m_iModuleId(a_uiModuleId) {}

    void write(unsigned a_uiLine, const std::string& a_strText)
    {
        if (m_oEnd.hasPassed())
        {
            m_oEnd = platform::Deadline(std::chrono::seconds(10));
            m_uiWritten = 0;
        }
        if (m_uiWritten >= s_uiMost)
        {
            ++m_uiLeftOut;
            return;
        }
        ++m_uiWritten;
        const std::string strBefore =
            m_uiLeftOut == 0 ? "" : " (" + std::to_string(m_uiLeftOut) + " warnings before this one were left out)";
        m_uiLeftOut = 0;
        VADRO_Sysloglevel_warning(m_iModuleId, "server", a_uiLine, (a_strText + strBefore).c_str());
    }

private:
    static constexpr unsigned s_uiMost = 10;

    std::uint32_t m_iModuleId;
    platform::Deadline m_oEnd{std::chrono::seconds(0)}; // of the present ten seconds
    unsigned m_uiWritten = 0;                           // in them
    unsigned m_uiLeftOut = 0;
};

} // namespace cfgserver
