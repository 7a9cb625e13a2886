#include "actions/updateurl.h"

#include "vadro/string/replace.h"

namespace quorvad
{

std::string fillPlaceholders(const std::string& a_strTemplate, const UrlValues& a_oValues)
{
    const std::array<const std::string*, g_apPlaceholders.size()> apValues = {&a_oValues.m_strIpAddr,
                                                                              &a_oValues.m_strIpAddr6,
                                                                              &a_oValues.m_strDomain,
                                                                              &a_oValues.m_strUsername,
                                                                              &a_oValues.m_strPassword,
                                                                              &a_oValues.m_strSerialNo};
    std::string strUrl = a_strTemplate;
    for (std::size_t uiAt = 0; uiAt < apValues.size(); ++uiAt)
    {
        strUrl = vadro::string::replaceAllOccurrences(strUrl, g_apPlaceholders[uiAt], *apValues[uiAt]);
    }
    return strUrl;
}

} // namespace quorvad
