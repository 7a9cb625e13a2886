#include "cfgctl/account/accountplan.h"

#include "actions/updateurl.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "config/schema.h"
#include "platform/common/values.h"
#include "vadro/string/replace.h"

namespace cfgctl
{

namespace
{

namespace dbm = quorvad::dbm;
using platform::integer;
using platform::text;
using platform::textOf;
using vadro::string::replaceAllOccurrences;

void refuse(const std::string& a_strSubject, const std::string& a_strFault)
{
    require(a_strFault.empty(), a_strSubject + " " + a_strFault);
}

/// A value as it can stand in a URL.
std::string encode(const std::string& a_strWhat, const std::string& a_strValue, AccountPlan& a_oPlan)
{
    std::string strEncoded = percentEncode(a_strValue);
    if (strEncoded == a_strValue)
    {
        return strEncoded;
    }
    require(a_oPlan.m_bEncode,
            "The " + a_strWhat +
                " contains characters that would break the update URL. This provider uses only letters, digits, "
                "'-', '.', '_' and '~': check that it was copied whole and without anything around it");
    a_oPlan.m_oNotes.push_back(
        "The " + a_strWhat +
        " contains characters that would break the update URL; it is stored percent-encoded, which the "
        "provider decodes.");
    return strEncoded;
}

std::string chooseTemplate(const Provider& a_oProvider, const AccountSpec& a_oSpec)
{
    if (!a_oSpec.m_bDual)
    {
        return a_oProvider.m_strUrl;
    }
    require(!a_oProvider.m_strUrlDual.empty(), a_oProvider.m_strName + " takes one address per request: omit --dual");
    return a_oProvider.m_strUrlDual;
}

/// The label of a host below a zone; "@" for the zone itself, as providers write it.
std::string labelOf(const AccountSpec& a_oSpec, const Provider& a_oProvider)
{
    require(!a_oSpec.m_strZone.empty(),
            a_oProvider.m_strName +
                " needs the zone of the host: use --zone, as in --host home.example.org --zone example.org");
    refuse("The zone '" + a_oSpec.m_strZone + "'", findHostFault(a_oSpec.m_strZone));
    const std::string& strHost = a_oSpec.m_strHost;
    const std::string strEnd = "." + a_oSpec.m_strZone;
    if (strHost == a_oSpec.m_strZone)
    {
        return "@";
    }
    require(strHost.size() > strEnd.size() && strHost.substr(strHost.size() - strEnd.size()) == strEnd,
            "The host '" + strHost + "' is not below the zone '" + a_oSpec.m_strZone + "'");
    return strHost.substr(0, strHost.size() - strEnd.size());
}

std::string chooseUser(const Provider& a_oProvider, const AccountSpec& a_oSpec, bool a_bWanted, AccountPlan& a_oPlan)
{
    if (!a_bWanted)
    {
        if (!a_oSpec.m_strUser.empty())
        {
            a_oPlan.m_oNotes.push_back("The user name is ignored: " + a_oProvider.m_strName +
                                       " takes none, and with one the daemon would also send Basic authentication.");
        }
        return {};
    }
    const std::string& strUser =
        a_oSpec.m_strUser.empty() && a_oProvider.m_bUserIsHost ? a_oSpec.m_strHost : a_oSpec.m_strUser;
    const std::string strHint =
        a_oProvider.m_strUserHint.empty() ? std::string() : " (" + a_oProvider.m_strUserHint + ")";
    require(!strUser.empty(), a_oProvider.m_strName + " needs a user name" + strHint + ": use --user");
    refuse("The user name", findTextFault(strUser));
    return strUser;
}

/// Of the two texts that the answer to an update URL is judged by; GnuDIP answers with a code.
void fillTexts(const Provider& a_oProvider, const AccountSpec& a_oSpec, AccountPlan& a_oPlan)
{
    const bool bGnudip = a_oProvider.m_eSignIn == SignIn::Gnudip;
    require(!bGnudip || (!a_oSpec.m_strExpect && !a_oSpec.m_strUnchanged), g_acTextsOfGnudip);
    const std::string strExpect = a_oSpec.m_strExpect.value_or(bGnudip ? std::string() : a_oProvider.m_strExpect);
    const std::string strOwn = strExpect.empty() ? std::string() : a_oProvider.m_strUnchanged;
    const std::string strUnchanged = a_oSpec.m_strUnchanged.value_or(strOwn);
    checkTexts(strExpect, strUnchanged);
    a_oPlan.m_oRow.add(dbm::DynDns_ExpectedResultSubString, text(strExpect));
    a_oPlan.m_oRow.add(dbm::DynDns_UnchangedResultSubString, text(strUnchanged));
}

void fillRow(const Provider& a_oProvider,
             const AccountSpec& a_oSpec,
             const std::string& a_strServer,
             const std::string& a_strUser,
             AccountPlan& a_oPlan)
{
    const bool bGnudip = a_oProvider.m_eSignIn == SignIn::Gnudip;
    a_oPlan.m_oRow =
        platform::row({{dbm::Enable, integer(a_oSpec.m_bEnable ? 1 : 0)},
                       {dbm::Interface, text(a_oSpec.m_strInterface)},
                       {dbm::DynDns_ServiceType, text(bGnudip ? dbm::ServiceType_Gnudip : dbm::ServiceType_UpdateUrl)},
                       {dbm::DynDns_ServerAddr, text(a_strServer)},
                       {dbm::DynDns_Hostname, text(a_oSpec.m_strHost)},
                       {dbm::DynDns_AccountUserName, text(a_strUser)},
                       {dbm::DynDns_Retry, integer(a_oSpec.m_iRetry.value_or(a_oProvider.m_iRetry))}});
    fillTexts(a_oProvider, a_oSpec, a_oPlan);
    if (!a_oProvider.m_strNotes.empty())
    {
        a_oPlan.m_oNotes.push_back(a_oProvider.m_strNotes);
    }
}

AccountPlan planGnudip(const Provider& a_oProvider, const AccountSpec& a_oSpec)
{
    AccountPlan oPlan;
    const std::string strUser = chooseUser(a_oProvider, a_oSpec, true, oPlan);
    require(strUser.find_first_of(": ") == std::string::npos,
            "The user name must not contain ':' or a blank: they would break the GnuDIP request");
    const std::string& strHost = a_oSpec.m_strHost;
    require(strHost.compare(0, strUser.size() + 1, strUser + ".") == 0 && strHost.size() >= strUser.size() + 2,
            "With GnuDIP the host is the user name, a dot and the server's domain, such as --user alice "
            "--host alice.dyn.example.org; '" +
                strHost + "' does not begin with '" + strUser + ".'");
    require(!a_oSpec.m_bDual, "GnuDIP announces an IPv4 address only: omit --dual");
    require(a_oSpec.m_strZone.empty(), "GnuDIP takes no zone: omit --zone");
    fillRow(a_oProvider, a_oSpec, a_oProvider.m_strUrl, strUser, oPlan);
    oPlan.m_bPasswordInHeader = true;
    return oPlan;
}

AccountPlan planUrl(const Provider& a_oProvider, const AccountSpec& a_oSpec)
{
    AccountPlan oPlan;
    oPlan.m_bEncode = a_oProvider.m_bEncode;
    std::string strUrl = chooseTemplate(a_oProvider, a_oSpec);
    const bool bLabel = hasPlaceholder(strUrl, g_acLabel) || hasPlaceholder(strUrl, g_acZone);
    require(bLabel || a_oSpec.m_strZone.empty(), a_oProvider.m_strName + " takes no zone: omit --zone");
    const bool bUserInUrl = hasPlaceholder(strUrl, quorvad::Placeholder_Username);
    const bool bBasic = a_oProvider.m_eSignIn == SignIn::Basic;
    const std::string strUser = chooseUser(a_oProvider, a_oSpec, bUserInUrl || bBasic, oPlan);
    require(!bBasic || strUser.find(':') == std::string::npos, g_acColonInUser);
    if (bLabel)
    {
        strUrl = replaceAllOccurrences(strUrl, g_acLabel, labelOf(a_oSpec, a_oProvider));
        strUrl = replaceAllOccurrences(strUrl, g_acZone, a_oSpec.m_strZone);
    }
    if (bUserInUrl)
    {
        strUrl = replaceAllOccurrences(strUrl, quorvad::Placeholder_Username, encode("user name", strUser, oPlan));
    }
    oPlan.m_bPasswordInUrl = hasPlaceholder(strUrl, quorvad::Placeholder_Password);
    oPlan.m_bPasswordInHeader = bBasic;
    fillRow(a_oProvider, a_oSpec, strUrl, bBasic ? strUser : std::string(), oPlan);
    return oPlan;
}

Provider makeProvider(const std::string& a_strName, const std::string& a_strUrl, SignIn a_eSignIn)
{
    Provider oProvider;
    oProvider.m_strName = a_strName;
    oProvider.m_bSure = true;
    oProvider.m_strUrl = a_strUrl;
    oProvider.m_eSignIn = a_eSignIn;
    return oProvider;
}

} // namespace

void checkTexts(const std::string& a_strExpect, const std::string& a_strUnchanged)
{
    refuse("The expected text", findTextFault(a_strExpect));
    refuse("The text of an unchanged address", findTextFault(a_strUnchanged));
    require(!a_strExpect.empty() || a_strUnchanged.empty(),
            "The text of an unchanged address has no effect while no text is expected: give --expect as well");
}

Provider makeOwnProvider(const std::string& a_strTemplate, bool a_bUser)
{
    refuse("The URL cannot be used:", findUrlFault(a_strTemplate, getPlaceholders()));
    const bool bBasic = a_bUser && !hasPlaceholder(a_strTemplate, quorvad::Placeholder_Username);
    return makeProvider(urlHost(a_strTemplate), a_strTemplate, bBasic ? SignIn::Basic : SignIn::Url);
}

Provider makeGnudipProvider(const std::string& a_strServer)
{
    refuse("The GnuDIP server '" + a_strServer + "'", findServerFault(a_strServer));
    return makeProvider(a_strServer, a_strServer, SignIn::Gnudip);
}

AccountPlan planAccount(const Provider& a_oProvider, const AccountSpec& a_oSpec)
{
    refuse("The host '" + a_oSpec.m_strHost + "'", findHostFault(a_oSpec.m_strHost));
    refuse("The interface '" + a_oSpec.m_strInterface + "'", findInterfaceFault(a_oSpec.m_strInterface));
    AccountPlan oPlan =
        a_oProvider.m_eSignIn == SignIn::Gnudip ? planGnudip(a_oProvider, a_oSpec) : planUrl(a_oProvider, a_oSpec);
    if (oPlan.m_bPasswordInUrl || oPlan.m_bPasswordInHeader)
    {
        oPlan.m_strPasswordHint = a_oProvider.m_strPasswordHint.empty() ? "password" : a_oProvider.m_strPasswordHint;
    }
    return oPlan;
}

std::string preparePassword(AccountPlan& a_oPlan, const std::string& a_strPassword)
{
    require(!a_strPassword.empty(), "The password is empty; nothing was written");
    refuse("The password", findTextFault(a_strPassword));
    if (!a_oPlan.m_bPasswordInUrl)
    {
        return a_strPassword;
    }
    require(!a_oPlan.m_bPasswordInHeader || percentEncode(a_strPassword) == a_strPassword,
            "The password is sent both in the URL, where it must be percent-encoded, and in the request's header, "
            "where it must not: choose one of letters, digits, '-', '.', '_' and '~' only, or a template without "
            "<password>");
    return encode("password", a_strPassword, a_oPlan);
}

void fitToColumns(const korrin::ValueList& a_oColumns, AccountPlan& a_oPlan)
{
    const std::string strUnchanged = textOf(a_oPlan.m_oRow, dbm::DynDns_UnchangedResultSubString);
    if (a_oColumns.hasValue(dbm::DynDns_UnchangedResultSubString))
    {
        return;
    }
    a_oPlan.m_oRow.remove(dbm::DynDns_UnchangedResultSubString);
    if (!strUnchanged.empty())
    {
        a_oPlan.m_oNotes.push_back("The service has no column " + std::string(dbm::DynDns_UnchangedResultSubString) +
                                   ": an answer with \"" + strUnchanged + "\" counts as a failure.");
    }
}

AccountPlan planOfRow(const korrin::ValueList& a_oRow, const Provider* a_pProvider)
{
    AccountPlan oPlan;
    oPlan.m_bPasswordInUrl =
        !isGnudip(a_oRow) && hasPlaceholder(textOf(a_oRow, dbm::DynDns_ServerAddr), quorvad::Placeholder_Password);
    oPlan.m_bPasswordInHeader = !textOf(a_oRow, dbm::DynDns_AccountUserName).empty();
    oPlan.m_bEncode = a_pProvider == nullptr || a_pProvider->m_bEncode;
    return oPlan;
}

} // namespace cfgctl
