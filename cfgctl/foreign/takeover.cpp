#include "cfgctl/foreign/takeover.h"

#include "actions/updateurl.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "config/schema.h"
#include "platform/common/values.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <strings.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiLongestName = 60;
constexpr char s_acZoneItself[] = "@"; // as a label

/// A provider's name that is safe to repeat: not a URL or a key.
std::string quoteService(const std::string& a_strService)
{
    const bool bName =
        a_strService.size() <= s_uiLongestName &&
        std::all_of(a_strService.begin(),
                    a_strService.end(),
                    [](unsigned char a_c) { return std::isalnum(a_c) != 0 || a_c == '.' || a_c == '-' || a_c == '_'; });
    return bName && !a_strService.empty() ? " '" + a_strService + "'" : std::string();
}

/// A known provider, unless the file itself describes the update and the provider listed wants another sign-in.
Provider chooseProvider(const Providers& a_oProviders, const ForeignAccount& a_oAccount)
{
    const Provider* pKnown = findAlias(a_oProviders, a_oAccount.m_strService);
    if (pKnown != nullptr && a_oAccount.m_strUrl.empty())
    {
        requireServed(*pKnown);
        return *pKnown;
    }
    if (pKnown != nullptr && pKnown->m_strRefusal.empty() && pKnown->m_eSignIn == SignIn::Basic)
    {
        return *pKnown;
    }
    require(!a_oAccount.m_strUrl.empty(),
            "unknown provider" + quoteService(a_oAccount.m_strService) + ": 'cfgctl account add' takes its update URL");
    const std::string strFault =
        findUrlFault(a_oAccount.m_strUrl, getPlaceholders()); // may name what is in '<' and '>'
    require(strFault.find('<') == std::string::npos, "its update URL contains '<'");
    return makeOwnProvider(a_oAccount.m_strUrl, !a_oAccount.m_strUser.empty());
}

/// Whether a field that a client insists on is filled with something that is no name or password.
bool isFiller(const std::string& a_strText)
{
    constexpr std::array apFillers{"", "none", "n/a", "na", "nobody", "unused", "user", "token", "-"};
    return std::any_of(apFillers.begin(),
                       apFillers.end(),
                       [&](const char* a_pFiller) { return strcasecmp(a_pFiller, a_strText.c_str()) == 0; }) ||
           strncasecmp(a_strText.c_str(), "noPassword", 10) == 0;
}

/// Whether the name is the host, or a zone above it.
bool isAbove(const std::string& a_strName, const std::string& a_strHost)
{
    const std::size_t uiName = a_strName.size();
    return a_strName == a_strHost ||
           (a_strHost.size() > uiName &&
            a_strHost.compare(a_strHost.size() - uiName - 1, uiName + 1, "." + a_strName) == 0);
}

/// For a provider that takes a key alone, which some clients keep as the password and some as the user name.
void takeKey(ForeignAccount& a_oAccount)
{
    const std::string strUser = std::exchange(a_oAccount.m_strUser, {});
    if (isFiller(a_oAccount.m_strPassword))
    {
        a_oAccount.m_strPassword = strUser;
        return;
    }
    const bool bLabel = a_oAccount.m_strHost.compare(0, strUser.size() + 1, strUser + ".") == 0;
    require(
        isFiller(strUser) || strUser == a_oAccount.m_strHost || bLabel,
        "the provider takes one key here, the file has user name and password: 'cfgctl account add' asks for the key");
}

/// For a provider that takes label and zone: clients keep the zone, or the label, as the user name.
void takeZone(ForeignAccount& a_oAccount, AccountSpec& a_oSpec)
{
    const std::string strUser = std::exchange(a_oAccount.m_strUser, {});
    std::string& strHost = a_oAccount.m_strHost;
    const bool bZone = strUser.find('.') != std::string::npos;
    const bool bHost = strHost.find('.') != std::string::npos;
    require(bZone ? !bHost || isAbove(strUser, strHost) : bHost && !strUser.empty(),
            "label and zone of the host cannot be told apart: use 'cfgctl account add' with --zone");
    a_oSpec.m_strZone = bZone ? strUser : strHost;
    const std::string strLabel = bZone ? strHost : strUser;
    if (!bZone || !bHost)
    {
        strHost = (strLabel == s_acZoneItself ? std::string() : strLabel + ".") + a_oSpec.m_strZone;
    }
}

void fitSignIn(const Provider& a_oProvider, ForeignAccount& a_oAccount, AccountSpec& a_oSpec)
{
    const std::string& strUrl = a_oProvider.m_strUrl;
    if (hasPlaceholder(strUrl, g_acZone))
    {
        takeZone(a_oAccount, a_oSpec);
    }
    else if (a_oProvider.m_eSignIn == SignIn::Url && !hasPlaceholder(strUrl, quorvad::Placeholder_Username))
    {
        takeKey(a_oAccount);
    }
    else if (a_oProvider.m_bUserIsHost && !isAbove(a_oAccount.m_strUser, a_oAccount.m_strHost))
    {
        a_oAccount.m_strUser.clear();
    }
}

/// The fault is told without the host, which may be a part of a password with a blank and without quotes.
void checkHost(const std::string& a_strHost)
{
    const std::string strFault = a_strHost == s_acZoneItself ? std::string() : findHostFault(a_strHost);
    require(strFault.empty(), "the host " + strFault);
}

void checkWanted(const ForeignAccount& a_oAccount)
{
    require(a_oAccount.m_strObstacle.empty(), a_oAccount.m_strObstacle);
    require(a_oAccount.m_bEnabled, "it is disabled there");
    require(a_oAccount.m_bIPv4,
            "it announces an IPv6 address alone: use 'cfgctl account add' with --url and <ipaddr6>");
}

/// What is not taken over as it was.
void addNotes(const Provider& a_oProvider, const ForeignAccount& a_oAccount, AccountPlan& a_oPlan)
{
    if (a_oAccount.m_bIPv6 && a_oProvider.m_strUrlDual.empty())
    {
        a_oPlan.m_oNotes.push_back("Only the IPv4 address is announced to " + a_oProvider.m_strName +
                                   "; an IPv6 address needs an account of its own");
    }
    if (a_oProvider.m_strKey.empty() && !a_oAccount.m_strExpect)
    {
        a_oPlan.m_oNotes.push_back("The file does not tell a good answer of " + a_oProvider.m_strName +
                                   ", so HTTP status 200 is one: see the answers with 'cfgctl log', and give a text "
                                   "of good ones with 'cfgctl account set ID --expect TEXT'");
    }
}

void plan(const Providers& a_oProviders, ForeignAccount a_oAccount, Takeover& a_oTakeover)
{
    AccountSpec& oSpec = a_oTakeover.m_oSpec;
    checkHost(a_oAccount.m_strHost);
    oSpec.m_strHost = a_oAccount.m_strHost;
    checkWanted(a_oAccount);
    a_oTakeover.m_oProvider = chooseProvider(a_oProviders, a_oAccount);
    require(!oSpec.m_strInterface.empty(), "the file names no interface: give one with --interface");
    const Provider& oProvider = a_oTakeover.m_oProvider;
    fitSignIn(oProvider, a_oAccount, oSpec);
    oSpec.m_strHost = a_oAccount.m_strHost;
    oSpec.m_strUser = a_oAccount.m_strUser;
    oSpec.m_bDual = a_oAccount.m_bIPv6 && !oProvider.m_strUrlDual.empty();
    if (oProvider.m_strKey.empty())
    {
        oSpec.m_strExpect = a_oAccount.m_strExpect;
        oSpec.m_strUnchanged = a_oAccount.m_strUnchanged;
    }
    AccountPlan& oPlan = a_oTakeover.m_oPlan;
    oPlan = planAccount(oProvider, oSpec);
    addNotes(oProvider, a_oAccount, oPlan);
    if (!oPlan.m_strPasswordHint.empty())
    {
        require(!a_oAccount.m_strPassword.empty(), "the file has no password: 'cfgctl account add' asks for it");
        oPlan.m_oRow.add(quorvad::dbm::DynDns_Password,
                         platform::text(preparePassword(oPlan, a_oAccount.m_strPassword)));
    }
}

} // namespace

Takeover
planTakeover(const Providers& a_oProviders, const ForeignAccount& a_oAccount, const std::string& a_strInterface)
{
    Takeover oTakeover{a_oAccount.m_uiLine, {}, {}, {}, {}};
    oTakeover.m_oSpec.m_strInterface = a_oAccount.m_strInterface.empty() ? a_strInterface : a_oAccount.m_strInterface;
    try
    {
        plan(a_oProviders, a_oAccount, oTakeover);
    }
    catch (const Failure& oError)
    {
        oTakeover.m_oPlan = {};
        oTakeover.m_strReason = oError.what();
    }
    return oTakeover;
}

} // namespace cfgctl
