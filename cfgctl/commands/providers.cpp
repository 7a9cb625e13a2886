#include "cfgctl/account/provider.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"

namespace cfgctl
{

namespace
{

using Details = std::vector<std::pair<std::string, std::string>>;

Details collectDetails(const Provider& a_oProvider)
{
    if (!a_oProvider.m_strRefusal.empty())
    {
        return {{"Key", a_oProvider.m_strKey},
                {"Name", a_oProvider.m_strName},
                {"Served", "no: it wants " + a_oProvider.m_strRefusal},
                {"Notes", a_oProvider.m_strNotes},
                {"See", a_oProvider.m_strDoc}};
    }
    return {{"Key", a_oProvider.m_strKey},
            {"Name", a_oProvider.m_strName},
            {"Confirmed", a_oProvider.m_bSure ? "yes" : "no: " + a_oProvider.m_strDoubt},
            {"Sign-in", nameSignIn(a_oProvider.m_eSignIn)},
            {"URL", a_oProvider.m_strUrl},
            {"With IPv6", a_oProvider.m_strUrlDual},
            {"User name", a_oProvider.m_strUserHint},
            {"Password", a_oProvider.m_strPasswordHint},
            {"Success is", a_oProvider.m_strExpect.empty() ? "HTTP status 200" : a_oProvider.m_strExpect},
            {"If unchanged", a_oProvider.m_strUnchanged},
            {"If repeated", a_oProvider.m_bBlocks ? "clients that repeat an unchanged address get blocked" : ""},
            {"Tries", std::to_string(a_oProvider.m_iRetry)},
            {"Notes", a_oProvider.m_strNotes},
            {"See", a_oProvider.m_strDoc}};
}

std::string showDetails(const Provider& a_oProvider)
{
    std::string strText;
    for (const auto& [strName, strDetail] : collectDetails(a_oProvider))
    {
        if (!strDetail.empty())
        {
            strText.append(strName).append(14 - strName.size(), ' ').append(strDetail).append("\n");
        }
    }
    return strText;
}

/// In a few words, with the subject of a doubt but not what is in doubt about it.
std::string summarise(const Provider& a_oProvider)
{
    if (!a_oProvider.m_strRefusal.empty())
    {
        return "cannot be served";
    }
    const std::string& strDoubt = a_oProvider.m_strDoubt;
    return a_oProvider.m_bSure ? "yes" : "no: " + strDoubt.substr(0, strDoubt.find(':'));
}

std::string showList(const Providers& a_oProviders, const Layout& a_oLayout)
{
    Table oTable;
    oTable.m_oHeadings = {"Key", "Name", "Sign-in", "IPv6", "Confirmed"};
    for (const Provider& oProvider : a_oProviders)
    {
        oTable.m_oRows.push_back({{oProvider.m_strKey},
                                  {oProvider.m_strName},
                                  {oProvider.m_strRefusal.empty() ? nameSignIn(oProvider.m_eSignIn) : ""},
                                  {oProvider.m_strUrlDual.empty() ? "" : "--dual"},
                                  {summarise(oProvider), oProvider.m_bSure ? Style::Plain : Style::Faint}});
    }
    return renderTable(oTable, a_oLayout);
}

} // namespace

void runProviders(const Options& a_oOptions)
{
    Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    const std::string& strKey = a_oOptions.m_oAccount.m_strProvider;
    if (!strKey.empty())
    {
        const Provider* pProvider = findProvider(oProviders, strKey);
        require(pProvider != nullptr, "Unknown provider '" + strKey + "'; 'cfgctl providers' lists them");
        oProviders = {Provider(*pProvider)};
    }
    if (a_oOptions.m_bJson)
    {
        writeOut(providersToJson(oProviders));
        return;
    }
    writeOut(strKey.empty() ? showList(oProviders, a_oOptions.m_oLayout) : showDetails(oProviders.front()));
}

} // namespace cfgctl
