#include "platform/client/linkreport.h"

#include "platform/common/log.h"

namespace platform
{

namespace
{

constexpr char s_acLogFile[] = "servicelink";

unsigned toMs(std::chrono::milliseconds a_oTime)
{
    return static_cast<unsigned>(a_oTime.count());
}

} // namespace

LinkReport::LinkReport(const std::string& a_strSocketPath)
    : m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad")), m_strSocketPath(a_strSocketPath),
      m_strFailure(VAStr("Not connected to the configuration service at '%s' yet", a_strSocketPath.c_str()))
{
}

void LinkReport::connected(const std::string& a_strServiceVersion)
{
    m_bWarned = false;
    LOG_INFO(
        "Connected to the configuration service at '%s' (%s).", m_strSocketPath.c_str(), a_strServiceVersion.c_str());
}

void LinkReport::lost(const char* a_pReason, std::optional<std::chrono::milliseconds> a_oPause)
{
    const char* pPath = m_strSocketPath.c_str();
    m_bWarned = true;
    m_strFailure = VAStr("Connection to the configuration service at '%s' lost (%s)", pPath, a_pReason);
    if (a_oPause)
    {
        LOG_WARNING("Connection to the configuration service at '%s' lost (%s), trying again in %u ms.",
                    pPath,
                    a_pReason,
                    toMs(*a_oPause));
    }
    else
    {
        LOG_WARNING("Connection to the configuration service at '%s' lost (%s).", pPath, a_pReason);
    }
}

void LinkReport::failedTry(wire::Result a_eResult, const char* a_pReason, std::chrono::milliseconds a_oPause)
{
    const std::string strFailure = describe(a_eResult, a_pReason);
    // An impostor is worth a line of its own even while the service is known to be away.
    const bool bWarn = !m_bWarned || (a_eResult == wire::Result::NoAccess && strFailure != m_strFailure);
    m_strFailure = strFailure;
    m_bWarned = true;
    const VAStr oText("%s (waiting for the service, next try in %u ms)", m_strFailure.c_str(), toMs(a_oPause));
    if (bWarn)
    {
        LOG_WARNING("%s", static_cast<const char*>(oText));
    }
    else
    {
        LOG_DEBUG("%s", static_cast<const char*>(oText));
    }
}

std::string LinkReport::describe(wire::Result a_eResult, const char* a_pReason) const
{
    const char* pPath = m_strSocketPath.c_str();
    if (a_eResult == wire::Result::NoAccess)
    {
        return std::string(
            VAStr("The configuration service at '%s' runs as user %s, which is not trusted.", pPath, a_pReason));
    }
    return std::string(VAStr("Cannot reach the configuration service at '%s': %s", pPath, a_pReason));
}

} // namespace platform
