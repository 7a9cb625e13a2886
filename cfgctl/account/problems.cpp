#include "cfgctl/account/problems.h"

#include "actions/gnudipprotocol.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "config/nameservers.h"
#include "resolver/serverlist.h"

#include <algorithm>
#include <cctype>

namespace cfgctl
{

namespace
{

using quorvad::EInterfaceState;

/// Why the transfer library sends nothing at all: another protocol, no server, a blank or control character.
bool isRefused(const std::string& a_strUrl)
{
    const bool bInvalid = std::any_of(
        a_strUrl.begin(), a_strUrl.end(), [](unsigned char a_c) { return std::iscntrl(a_c) != 0 || a_c == ' '; });
    return bInvalid || a_strUrl.compare(0, 4, "http") != 0 || urlHost(a_strUrl).empty();
}

/// Collects them for one account.
class Finder
{
public:
    Finder(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
        : m_oAccount(a_oAccount), m_oSources(a_oSources), m_strInterface(text(dbm::Interface)),
          m_oWatch(findLast(a_oSources.m_oInterfaces, dbm::Name, m_strInterface))
    {
    }

    std::vector<Problem> find(EInterfaceState a_eState)
    {
        checkSettings();
        checkInterface(a_eState);
        checkNameservers();
        isGnudip(m_oAccount) ? checkGnudip() : checkUrl();
        std::stable_partition(
            m_oFound.begin(), m_oFound.end(), [](const Problem& a_oProblem) { return a_oProblem.m_bStops; });
        return m_oFound;
    }

private:
    [[nodiscard]] std::string text(const char* a_pColumn) const { return textOf(m_oAccount, a_pColumn); }
    [[nodiscard]] std::string setting(const std::string& a_strAssignment) const
    {
        return "cfgctl set DynDns Id=" + (text(dbm::Id).empty() ? std::string("ID") : text(dbm::Id)) + " " +
               a_strAssignment;
    }
    void stopIf(bool a_bSo, const std::string& a_strWhat, const std::string& a_strNext, const std::string& a_strBrief)
    {
        if (a_bSo)
        {
            m_oFound.push_back({true, a_strWhat, a_strNext, a_strBrief});
        }
    }
    void warnIf(bool a_bSo, const std::string& a_strWhat, const std::string& a_strNext)
    {
        if (a_bSo)
        {
            m_oFound.push_back({false, a_strWhat, a_strNext, {}});
        }
    }

    void checkSettings()
    {
        stopIf(!isSet(m_oAccount, dbm::Enable),
               "The account is disabled",
               "cfgctl account enable " + text(dbm::Id),
               "nothing: disabled");
        const std::string strService = text(dbm::DynDns_ServiceType);
        stopIf(strService != dbm::ServiceType_UpdateUrl && strService != dbm::ServiceType_Gnudip,
               "Unknown ServiceType '" + strService + "'",
               setting(std::string("ServiceType=") + dbm::ServiceType_UpdateUrl) + " (or " + dbm::ServiceType_Gnudip +
                   ")",
               "nothing: unknown ServiceType");
        stopIf(m_oAccount.getValue(dbm::DynDns_Retry).getInteger() <= 0,
               "Retry is not above 0, so no try is made",
               setting("Retry=5"),
               "nothing: Retry is 0");
        stopIf(m_strInterface.empty(), "No interface is set", setting("Interface=NAME"), "nothing: no interface");
    }

    void checkInterface(EInterfaceState a_eState)
    {
        if (m_strInterface.empty())
        {
            return;
        }
        const std::string strInterface = "Interface '" + m_strInterface + "'";
        const bool bUp = isSet(m_oWatch, dbm::IsUp);
        stopIf(a_eState == EInterfaceState::eMissing,
               strInterface + " does not exist",
               "'ip link' lists the interfaces; " + setting("Interface=NAME") + " chooses another",
               "waits for interface " + m_strInterface);
        stopIf(m_oWatch.empty(),
               strInterface + " is not monitored: it is not in StatusNetifWatch",
               "check that netifwatch is running and watches " + m_strInterface,
               "waits for interface " + m_strInterface + " to be monitored: is netifwatch running?");
        stopIf(!m_oWatch.empty() && !bUp,
               strInterface + " is down",
               "bring it up; the update follows",
               "waits until " + m_strInterface + " is up");
        stopIf(bUp && a_eState == EInterfaceState::eDown,
               strInterface + " is down or has no carrier",
               "bring it up, and check that netifwatch is running: StatusNetifWatch shows the interface as up",
               "waits until " + m_strInterface + " is running");
    }

    void checkNameservers()
    {
        const std::string strServers = nameserversOf(m_oAccount, m_oSources);
        const std::string strNext =
            "see 'cfgctl show DNSClientServer' and 'cfgctl show DNSRelay'; 'cfgctl add DNSClientServer Interface=" +
            m_strInterface + " IPAddress=ADDRESS' adds one";
        const std::string strBrief = "nothing: no usable DNS server for " + m_strInterface;
        stopIf(strServers.empty(), "Interface '" + m_strInterface + "' has no DNS server", strNext, strBrief);
        const bool bUnusable = !strServers.empty() && !quorvad::isUsableServerList(strServers);
        const std::string strWhat =
            "The DNS servers of interface '" + m_strInterface + "' are not a list of addresses: '" + strServers + "'";
        stopIf(bUnusable && isGnudip(m_oAccount), strWhat, strNext, strBrief);
        warnIf(bUnusable && !isGnudip(m_oAccount), strWhat + ", so the system's servers are asked", strNext);
    }

    void checkGnudip()
    {
        stopIf(!quorvad::isUserPartOfHost(text(dbm::DynDns_AccountUserName), text(dbm::DynDns_Hostname)),
               "Hostname does not begin with the user name, as GnuDIP needs it",
               setting("Hostname=USER.DOMAIN AccountUserName=USER"),
               "nothing: Hostname does not fit the user name");
        stopIf(text(dbm::DynDns_ServerAddr).empty(),
               "No GnuDIP server is set",
               setting("ServerAddr=NAME"),
               "nothing: no server");
        checkReach(textOf(m_oWatch, dbm::Addr), "IPv4");
    }

    /// An address that the Internet cannot reach is of no use to anybody outside.
    void checkReach(const std::string& a_strAddress, const std::string& a_strFamily)
    {
        const std::string strKind = nameUnreachable(a_strAddress);
        warnIf(!strKind.empty(),
               "The " + a_strFamily + " address to be announced, " + a_strAddress + ", is " + strKind +
                   ": it cannot be reached from the Internet",
               "run the daemon on the outer router, or announce a public IPv6 address; see getting-started.md");
    }

    void checkUrl()
    {
        const std::string strUrl = text(dbm::DynDns_ServerAddr);
        const quorvad::UrlValues oValues = urlValuesOf(m_oAccount, m_oSources);
        warnIf(strUrl.compare(0, 8, "https://") != 0 && !strUrl.empty(),
               "The URL is not https: user name and password are sent unencrypted",
               "use an https:// URL");
        checkFilledUrl(strUrl, oValues);
        checkHoles(strUrl, oValues);
        if (hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr))
        {
            checkReach(oValues.m_strIpAddr, "IPv4");
        }
        if (hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr6))
        {
            checkReach(oValues.m_strIpAddr6, "IPv6");
        }
        checkSignIn(strUrl);
    }

    /// Filled in as the daemon does it, with addresses that any interface might have.
    void checkFilledUrl(const std::string& a_strUrl, quorvad::UrlValues a_oValues)
    {
        a_oValues.m_strIpAddr = "192.0.2.1";
        a_oValues.m_strIpAddr6 = "2001:db8::1";
        const bool bPlain = a_strUrl.find("://") == std::string::npos && !a_strUrl.empty();
        const std::string strUrl = quorvad::fillPlaceholders((bPlain ? "http://" : "") + a_strUrl, a_oValues);
        const std::string strFault = findUrlFault(strUrl, {});
        const std::string strNext =
            "percent-encode what goes into the URL, as 'cfgctl account add' and 'cfgctl account "
            "password' do";
        const bool bRefused = isRefused(strUrl);
        stopIf(bRefused,
               "The update URL, once filled in, cannot be used: " + strFault,
               strNext,
               "nothing: invalid update URL");
        warnIf(!bRefused && !strFault.empty(), "The update URL, once filled in, looks wrong: " + strFault, strNext);
    }

    void checkHoles(const std::string& a_strUrl, const quorvad::UrlValues& a_oValues)
    {
        const std::string strNone = "Interface '" + m_strInterface + "' has no ";
        const std::string strEmpty =
            " is left empty; some providers then delete the record or use the sender's address";
        warnIf(!m_oWatch.empty() && a_oValues.m_strIpAddr.empty() &&
                   hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr),
               strNone + "IPv4 address, so <ipaddr>" + strEmpty,
               "wait for an address, or use a template without <ipaddr>");
        warnIf(hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr6) && a_oValues.m_strIpAddr6.empty(),
               strNone + "IPv6 address, so <ipaddr6>" + strEmpty,
               "until it has one, use the template for IPv4 only (account add without --dual)");
    }

    void checkSignIn(const std::string& a_strUrl)
    {
        const std::string strUser = text(dbm::DynDns_AccountUserName);
        const bool bPassword = !text(dbm::DynDns_Password).empty();
        const bool bInUrl = hasPlaceholder(a_strUrl, quorvad::Placeholder_Password);
        warnIf(strUser.find(':') != std::string::npos,
               "The user name contains ':': the server takes what follows as the password",
               setting("AccountUserName=NAME"));
        warnIf(bPassword && !bInUrl && strUser.empty(),
               "The password is never sent: there is neither a user name nor <password> in the URL",
               setting("AccountUserName=NAME"));
        warnIf(!bPassword && (bInUrl || !strUser.empty()),
               "No password is set",
               "cfgctl account password " + text(dbm::Id));
        warnIf(text(dbm::DynDns_ExpectedResultSubString).find('\n') != std::string::npos,
               "The expected text contains a line feed, so no answer can contain it",
               setting("ExpectedResultSubString=TEXT"));
    }

    const korrin::ValueList& m_oAccount;
    const StatusSources& m_oSources;
    const std::string m_strInterface;
    const korrin::ValueList& m_oWatch;
    std::vector<Problem> m_oFound;
};

} // namespace

std::vector<Problem>
findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, EInterfaceState a_eState)
{
    return Finder(a_oAccount, a_oSources).find(a_eState);
}

bool isStopped(const std::vector<Problem>& a_oProblems)
{
    return !a_oProblems.empty() && a_oProblems.front().m_bStops;
}

quorvad::UrlValues urlValuesOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const auto addressIn = [&](const Rows& a_oRows)
    { return findLast(a_oRows, dbm::Name, strInterface).getValue(dbm::Addr).getText(); };
    quorvad::UrlValues oValues;
    oValues.m_strIpAddr = addressIn(a_oSources.m_oInterfaces);
    oValues.m_strIpAddr6 = addressIn(a_oSources.m_oIPv6);
    oValues.m_strDomain = textOf(a_oAccount, dbm::DynDns_Hostname);
    oValues.m_strUsername = textOf(a_oAccount, dbm::DynDns_AccountUserName);
    oValues.m_strPassword = textOf(a_oAccount, dbm::DynDns_Password);
    oValues.m_strSerialNo = findLast(a_oSources.m_oSerial, dbm::Id, "1").getValue(dbm::etl_serial_no).getText();
    return oValues;
}

std::string nameserversOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    std::vector<const korrin::ValueList*> oServers;
    for (const korrin::ValueList& oRow : a_oSources.m_oServers)
    {
        oServers.push_back(&oRow);
    }
    const korrin::ValueList oRelay = a_oSources.m_oRelay.empty() ? korrin::ValueList() : a_oSources.m_oRelay.front();
    return quorvad::composeNameservers(oRelay, oServers, textOf(a_oAccount, dbm::Interface));
}

} // namespace cfgctl
