#include "cfgctl/account/report.h"

#include "cfgctl/account/nameservers.h"
#include "cfgctl/account/nextstep.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/secrets.h"
#include "cfgctl/timestamp.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

/// A URL taken apart at the separators of its query, which stay with the part before them.
std::vector<std::string> splitQuery(const std::string& a_strUrl)
{
    std::vector<std::string> oParts;
    std::size_t uiFrom = 0;
    while (uiFrom < a_strUrl.size())
    {
        const std::size_t uiEnd = a_strUrl.find_first_of("?&;", uiFrom);
        const std::size_t uiNext = uiEnd == std::string::npos ? a_strUrl.size() : uiEnd + 1;
        oParts.push_back(a_strUrl.substr(uiFrom, uiNext - uiFrom));
        uiFrom = uiNext;
    }
    return oParts;
}

std::string withoutSeparator(const std::string& a_strPart)
{
    return a_strPart.substr(0, a_strPart.find_first_of("?&;"));
}

/// The template with what may be a secret hidden, but for parts that stand in the provider's template as well.
std::string hideTemplate(const std::string& a_strTemplate, const Provider* a_pProvider)
{
    std::string strHidden = hideSecret("DynDns", "ServerAddr", a_strTemplate);
    const std::vector<std::string> oHidden = splitQuery(strHidden);
    const std::vector<std::string> oRaw = splitQuery(a_strTemplate);
    if (a_pProvider == nullptr || oHidden.size() != oRaw.size())
    {
        return strHidden;
    }
    std::vector<std::string> oKnown;
    for (const std::string& strUrl : {a_pProvider->m_strUrl, a_pProvider->m_strUrlDual})
    {
        for (const std::string& strPart : splitQuery(strUrl))
        {
            oKnown.push_back(withoutSeparator(strPart));
        }
    }
    std::string strResult;
    for (std::size_t uiAt = 0; uiAt < oRaw.size(); ++uiAt)
    {
        const bool bKnown = std::find(oKnown.begin(), oKnown.end(), withoutSeparator(oRaw[uiAt])) != oKnown.end();
        strResult += bKnown ? oRaw[uiAt] : oHidden[uiAt];
    }
    return strResult;
}

std::string joinServers(const std::vector<std::string>& a_oServers)
{
    std::string strResult;
    for (const std::string& strServer : a_oServers)
    {
        if (!strServer.empty())
        {
            strResult += (strResult.empty() ? "" : ", ") + strServer;
        }
    }
    return strResult.empty() ? "none" : strResult;
}

std::string orNone(const std::string& a_strText)
{
    return a_strText.empty() ? "none" : a_strText;
}

std::string describeSignIn(const korrin::ValueList& a_oAccount)
{
    const std::string& strUser = a_oAccount.getValue("AccountUserName").getText();
    if (a_oAccount.getValue("ServiceType").getText() == "gnudip")
    {
        return "GnuDIP as " + strUser;
    }
    return strUser.empty() ? "by the URL alone" : "Basic authentication as " + strUser;
}

std::string describeSuccess(const korrin::ValueList& a_oAccount)
{
    if (a_oAccount.getValue("ServiceType").getText() == "gnudip")
    {
        return "code 0";
    }
    const std::string& strExpect = a_oAccount.getValue("ExpectedResultSubString").getText();
    return strExpect.empty() ? "HTTP status 200" : "an answer with \"" + strExpect + "\" in it";
}

std::string describeLast(const korrin::ValueList& a_oStatus, std::time_t a_iNow)
{
    if (a_oStatus.empty())
    {
        return "not tried yet";
    }
    const korrin::Value oAge = ageOf(a_oStatus.getValue("Timestamp").getText(), a_iNow);
    const std::string strWhen = oAge.getType() == korrin::eValueNull ? a_oStatus.getValue("Timestamp").getText()
                                                                     : describeAge(oAge.getInteger());
    return (a_oStatus.getValue("Success").getInteger() != 0 ? "updated " : "failed ") + strWhen;
}

std::string describeInterface(const std::string& a_strName, const korrin::ValueList& a_oWatch)
{
    if (a_oWatch.empty())
    {
        return orNone(a_strName) + ", of which nothing is known";
    }
    return a_strName + (a_oWatch.getValue("IsUp").getInteger() != 0 ? ", up" : ", down");
}

} // namespace

std::string resolveUrl(const korrin::ValueList& a_oAccount,
                       const StatusSources& a_oSources,
                       const Provider* a_pProvider,
                       bool a_bShowSecrets)
{
    const auto text = [&](const char* a_pColumn) { return a_oAccount.getValue(a_pColumn).getText(); };
    const std::string strTemplate = a_bShowSecrets ? text("ServerAddr") : hideTemplate(text("ServerAddr"), a_pProvider);
    const bool bHide = !a_bShowSecrets && !text("Password").empty();
    return fillIn(
        strTemplate,
        {{"<ipaddr>", findLast(a_oSources.m_oInterfaces, "Name", text("Interface")).getValue("Addr").getText()},
         {"<ipaddr6>", findLast(a_oSources.m_oIPv6, "Name", text("Interface")).getValue("Addr").getText()},
         {"<domain>", text("Hostname")},
         {"<username>", text("AccountUserName")},
         {"<password>", bHide ? std::string(g_strHidden) : text("Password")},
         {"<serial>", findLast(a_oSources.m_oSerial, "Id", "1").getValue("serial_no").getText()}});
}

AccountReport makeReport(const korrin::ValueList& a_oAccount,
                         const StatusSources& a_oSources,
                         const Provider* a_pProvider,
                         InterfaceState a_eState,
                         bool a_bShowSecrets,
                         std::time_t a_iNow)
{
    const std::string& strInterface = a_oAccount.getValue("Interface").getText();
    const bool bGnudip = a_oAccount.getValue("ServiceType").getText() == "gnudip";
    const korrin::ValueList& oWatch = findLast(a_oSources.m_oInterfaces, "Name", strInterface);
    AccountReport oReport;
    oReport.m_oFacts = {
        {"Hostname", "Hostname", a_oAccount.getValue("Hostname").getText()},
        {"Provider", "Provider", a_pProvider == nullptr ? "not in the list of providers" : a_pProvider->m_strName},
        {"Server",
         bGnudip ? "Server" : "URL",
         bGnudip ? a_oAccount.getValue("ServerAddr").getText()
                 : resolveUrl(a_oAccount, a_oSources, a_pProvider, a_bShowSecrets)},
        {"SignIn", "Sign-in", describeSignIn(a_oAccount)},
        {"Success", "Success is", describeSuccess(a_oAccount)},
        {"Tries", "Tries", a_oAccount.getValue("Retry").getText() + " per change"},
        {"Interface", "Interface", describeInterface(strInterface, oWatch)},
        {"IPv4", "IPv4", orNone(oWatch.getValue("Addr").getText())},
        {"IPv6", "IPv6", orNone(findLast(a_oSources.m_oIPv6, "Name", strInterface).getValue("Addr").getText())},
        {"DnsServers",
         "DNS servers",
         joinServers(chooseNameservers(strInterface, a_oSources.m_oRelay, a_oSources.m_oServers))},
        {"Last",
         "Last",
         describeLast(findLast(a_oSources.m_oStatus, "DynDnsId", a_oAccount.getValue("Id").getText()), a_iNow)},
        {"Next", "Next", describeNext(a_oAccount, a_oSources, a_iNow)}};
    oReport.m_oProblems = findProblems(a_oAccount, a_oSources, a_eState);
    return oReport;
}

} // namespace cfgctl
