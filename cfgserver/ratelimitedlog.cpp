#include "cfgserver/ratelimitedlog.h"

#include "vadro/sysloglevel.h"

namespace cfgserver
{

namespace
{
constexpr unsigned s_uiMost = 10;
constexpr std::chrono::seconds s_oPeriod(10);
} // namespace

void RateLimitedLog::write(Clock::time_point a_oNow, unsigned a_uiLine, const std::string& a_strText)
{
    if (a_oNow - m_oStart >= s_oPeriod)
    {
        m_oStart = a_oNow;
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

} // namespace cfgserver
