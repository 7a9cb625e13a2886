#include "cfgctl/account/problems.h"

#include "actions/gnudipprotocol.h"
#include "cfgctl/account/activity.h"
#include "cfgctl/account/attempts.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/text.h"
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

std::string orNone(const std::string& a_strText)
{
    return a_strText.empty() ? "none" : a_strText;
}

/// Collects them for one account.
class Finder
{
public:
    Finder(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
        : m_oAccount(a_oAccount), m_oSources(a_oSources), m_strInterface(text(dbm::Interface)),
          m_oWatch(findLast(a_oSources.m_oInterfaces, dbm::Name, m_strInterface)),
          m_bWatcherMissing(!isConnected(a_oSources, g_pWatcher).value_or(true))
    {
    }

    std::vector<Problem> find()
    {
        checkSettings();
        checkDaemon();
        if (checkInterface())
        {
            checkAddresses();
            checkNameservers();
        }
        checkWatcher();
        isGnudip(m_oAccount) ? checkGnudip() : checkUrl();
        checkLastAnswer();
        std::stable_partition(
            m_oFound.begin(), m_oFound.end(), [](const Problem& a_oProblem) { return a_oProblem.m_bStops; });
        return m_oFound;
    }

private:
    [[nodiscard]] std::string text(const char* a_pColumn) const { return textOf(m_oAccount, a_pColumn); }
    /// The command that changes the account by the rules by which it was added.
    [[nodiscard]] std::string change(const std::string& a_strOptions, const std::string& a_strEffect) const
    {
        return "'cfgctl account set " + idOrPlaceholder() + " " + a_strOptions + "' " + a_strEffect;
    }
    /// The command for what that one does not change.
    [[nodiscard]] std::string setting(const std::string& a_strAssignment) const
    {
        return "'cfgctl set DynDns Id=" + idOrPlaceholder() + " " + a_strAssignment + "' sets it";
    }
    [[nodiscard]] std::string idOrPlaceholder() const { return text(dbm::Id).empty() ? "ID" : text(dbm::Id); }
    void stopIf(bool a_bSo,
                const char* a_pCode,
                const std::string& a_strWhat,
                const std::string& a_strNext,
                const std::string& a_strBrief)
    {
        if (a_bSo)
        {
            m_oFound.push_back({true, a_strWhat, a_strNext, a_strBrief, a_pCode});
        }
    }
    void warnIf(bool a_bSo, const char* a_pCode, const std::string& a_strWhat, const std::string& a_strNext)
    {
        if (a_bSo)
        {
            m_oFound.push_back({false, a_strWhat, a_strNext, {}, a_pCode});
        }
    }

    void checkSettings()
    {
        stopIf(!isSet(m_oAccount, dbm::Enable),
               g_pDisabledCode,
               "The account is disabled",
               "'cfgctl account enable " + idOrPlaceholder() + "' enables it",
               "nothing: disabled");
        const std::string strService = text(dbm::DynDns_ServiceType);
        stopIf(strService != dbm::ServiceType_UpdateUrl && strService != dbm::ServiceType_Gnudip,
               "service-type",
               "Unknown ServiceType '" + strService + "'",
               setting(std::string("ServiceType=") + dbm::ServiceType_UpdateUrl) + "; " + dbm::ServiceType_Gnudip +
                   " is the other one",
               "nothing: unknown ServiceType");
        stopIf(m_oAccount.getValue(dbm::DynDns_Retry).getInteger() <= 0,
               "no-tries",
               "Retry is not above 0, so no try is made",
               change("--retry 5", "allows five"),
               "nothing: Retry is 0");
        stopIf(m_strInterface.empty(),
               "no-interface",
               "No interface is set",
               change("--interface NAME", "sets it"),
               "nothing: no interface");
    }

    void checkDaemon()
    {
        stopIf(!isConnected(m_oSources, g_pDaemon).value_or(true),
               g_pNoDaemonCode,
               "No daemon (quorvad) is connected to the service, so nothing is sent",
               "start it with '" + startCommand(g_pDaemon) + "'",
               "nothing: no daemon is connected");
    }

    /// Unless that is told already.
    void checkWatcher()
    {
        const bool bTold = std::any_of(m_oFound.begin(), m_oFound.end(), tellsOfWatcher);
        warnIf(m_bWatcherMissing && !bTold,
               g_pNoWatcherCode,
               "No watcher (netifwatch) is connected to the service, so no change of an interface is noticed",
               startWatcher());
    }
    [[nodiscard]] static std::string startWatcher() { return "start it with '" + startCommand(g_pWatcher) + "'"; }

    /// What the kernel says of the interface. What a watcher says of one that is not here is about another machine.
    [[nodiscard]] EInterfaceState stateHere() const
    {
        const auto it = m_oSources.m_oLocal.find(m_strInterface);
        if (it != m_oSources.m_oLocal.end())
        {
            return it->second.m_eState;
        }
        const bool bElsewhere = isSet(m_oWatch, dbm::IsUp) && isConnected(m_oSources, g_pWatcher).value_or(false);
        return m_oSources.m_oLocal.empty() || bElsewhere ? EInterfaceState::eUnknown : EInterfaceState::eMissing;
    }

    [[nodiscard]] std::string namesHere() const
    {
        return join(m_oSources.m_oLocal, ", ", [](const auto& a_oEntry) { return a_oEntry.first; });
    }

    /// One problem at most. Returns whether the interface is up, so that there is more to ask.
    bool checkInterface()
    {
        if (m_strInterface.empty())
        {
            return false;
        }
        const std::size_t uiBefore = m_oFound.size();
        const std::string strInterface = "Interface '" + m_strInterface + "'";
        const std::string strWaits = "waits for interface " + m_strInterface;
        const EInterfaceState eState = stateHere();
        if (eState == EInterfaceState::eMissing)
        {
            stopIf(true,
                   "interface-missing",
                   strInterface + " does not exist; this machine has " + namesHere(),
                   change("--interface NAME", "chooses another"),
                   strWaits);
        }
        else if (m_oWatch.empty())
        {
            stopIf(true,
                   g_pNotMonitoredCode,
                   strInterface + " is not monitored: " +
                       (m_bWatcherMissing ? "no watcher (netifwatch) is connected" : "it is not in StatusNetifWatch"),
                   m_bWatcherMissing ? startWatcher() : "check that netifwatch watches " + m_strInterface,
                   strWaits + " to be monitored");
        }
        else
        {
            checkState(eState, strInterface);
        }
        return m_oFound.size() == uiBefore;
    }

    void checkState(EInterfaceState a_eState, const std::string& a_strInterface)
    {
        const bool bUp = isSet(m_oWatch, dbm::IsUp);
        stopIf(!bUp || a_eState == EInterfaceState::eDown,
               "interface-down",
               a_strInterface + " is down or has no carrier",
               bUp ? "bring it up, and check that netifwatch is running: StatusNetifWatch shows the interface as up"
                   : "bring it up, and the update follows",
               "waits until " + m_strInterface + " is up");
    }

    /// Of the addresses that are announced, or whose change is the reason for an update. While a watcher runs, the
    /// table follows the kernel within a moment.
    void checkAddresses()
    {
        if (!m_bWatcherMissing || stateHere() != EInterfaceState::eRunning)
        {
            return;
        }
        const std::string strUrl = text(dbm::DynDns_ServerAddr);
        const quorvad::UrlValues oValues = urlValuesOf(m_oAccount, m_oSources);
        const bool bIPv6 = !isGnudip(m_oAccount) && hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr6);
        if (!bIPv6 || hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr)) // also for one that takes the sender's
        {
            checkAddress("IPv4", oValues.m_strIpAddr, '.');
        }
        if (bIPv6)
        {
            checkAddress("IPv6", oValues.m_strIpAddr6, ':');
        }
    }

    void checkAddress(const std::string& a_strFamily, const std::string& a_strRow, char a_cMark)
    {
        std::vector<std::string> oHere;
        for (const std::string& strAddress : m_oSources.m_oLocal.at(m_strInterface).m_oAddresses)
        {
            if (strAddress.find(a_cMark) != std::string::npos && nameUnreachable(strAddress) != "link-local")
            {
                oHere.push_back(strAddress);
            }
        }
        const bool bSame = a_strRow.empty() ? oHere.empty() : std::count(oHere.begin(), oHere.end(), a_strRow) > 0;
        const std::string strHere = join(oHere, ", ", [](const std::string& a_strText) { return a_strText; });
        stopIf(!bSame,
               g_pAddressCode,
               "Row and kernel differ, as no watcher (netifwatch) is connected: the " + a_strFamily + " address of " +
                   m_strInterface + " is " + orNone(a_strRow) + " in the table and " + orNone(strHere) +
                   " in the kernel",
               startWatcher(),
               "waits for netifwatch: the address is out of date");
    }

    void checkNameservers()
    {
        const std::string strServers = nameserversOf(m_oAccount, m_oSources);
        const std::string strNext =
            "see 'cfgctl show DNSClientServer' and 'cfgctl show DNSRelay'; 'cfgctl add DNSClientServer Interface=" +
            m_strInterface + " IPAddress=ADDRESS' adds one";
        const std::string strBrief = "nothing: no usable DNS server for " + m_strInterface;
        stopIf(strServers.empty(),
               "no-dns-server",
               "Interface '" + m_strInterface + "' has no DNS server",
               strNext,
               strBrief);
        const bool bUnusable = !strServers.empty() && !quorvad::isUsableServerList(strServers);
        const std::string strWhat =
            "The DNS servers of interface '" + m_strInterface + "' are not a list of addresses: '" + strServers + "'";
        stopIf(bUnusable && isGnudip(m_oAccount), "dns-server-invalid", strWhat, strNext, strBrief);
        warnIf(bUnusable && !isGnudip(m_oAccount),
               "dns-server-invalid",
               strWhat + ", so the system's servers are asked",
               strNext);
    }

    void checkGnudip()
    {
        stopIf(!quorvad::isUserPartOfHost(text(dbm::DynDns_AccountUserName), text(dbm::DynDns_Hostname)),
               "gnudip-host",
               "Hostname does not begin with the user name, as GnuDIP needs it",
               change("--user USER --host USER.DOMAIN", "sets both"),
               "nothing: Hostname does not fit the user name");
        stopIf(text(dbm::DynDns_ServerAddr).empty(),
               "no-server",
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
               "address-private",
               "The " + a_strFamily + " address to be announced, " + a_strAddress + ", is " + strKind +
                   ": it cannot be reached from the Internet",
               "run the daemon on the outer router, or announce a public IPv6 address; see getting-started.md");
    }

    void checkUrl()
    {
        const std::string strUrl = text(dbm::DynDns_ServerAddr);
        const quorvad::UrlValues oValues = urlValuesOf(m_oAccount, m_oSources);
        warnIf(strUrl.compare(0, 8, "https://") != 0 && !strUrl.empty(),
               "not-encrypted",
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
               "url-invalid",
               "The update URL, once filled in, cannot be used: " + strFault,
               strNext,
               "nothing: invalid update URL");
        warnIf(!bRefused && !strFault.empty(),
               "url-doubtful",
               "The update URL, once filled in, looks wrong: " + strFault,
               strNext);
    }

    void checkHoles(const std::string& a_strUrl, const quorvad::UrlValues& a_oValues)
    {
        const std::string strNone = "Interface '" + m_strInterface + "' has no ";
        const std::string strEmpty =
            " is left empty; some providers then delete the record or use the sender's address";
        warnIf(!m_oWatch.empty() && a_oValues.m_strIpAddr.empty() &&
                   hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr),
               "no-ipv4",
               strNone + "IPv4 address, so <ipaddr>" + strEmpty,
               "wait for an address, or use a template without <ipaddr>");
        warnIf(hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr6) && a_oValues.m_strIpAddr6.empty(),
               "no-ipv6",
               strNone + "IPv6 address, so <ipaddr6>" + strEmpty,
               "until it has one, use the template for IPv4 only (account add without --dual)");
    }

    /// The reason is nearly always the same, and providers block those who go on.
    void checkLastAnswer()
    {
        const std::string strId = text(dbm::Id);
        const korrin::ValueList& oLog = findLast(m_oSources.m_oLog, dbm::DynDnsLog_DynDnsId, strId);
        if (oLog.empty() || isGnudip(m_oAccount) ||
            judgeLast(m_oAccount, m_oSources).value_or(Outcome::Unknown) != Outcome::Failed)
        {
            return;
        }
        const std::string strCode = textOf(oLog, dbm::DynDnsLog_ResponseCode);
        const bool bBadAuth = textOf(oLog, dbm::DynDnsLog_Response).find("badauth") != std::string::npos;
        warnIf(bBadAuth || strCode == "401" || strCode == "403",
               g_pSignInCode,
               "At the last try, the provider refused the user name or the password (" +
                   (bBadAuth ? "badauth" : "HTTP status " + strCode) + ")",
               "check both; 'cfgctl account password " + strId + "' sets the password");
    }

    void checkSignIn(const std::string& a_strUrl)
    {
        const std::string strUser = text(dbm::DynDns_AccountUserName);
        const bool bPassword = !text(dbm::DynDns_Password).empty();
        const bool bInUrl = hasPlaceholder(a_strUrl, quorvad::Placeholder_Password);
        warnIf(strUser.find(':') != std::string::npos,
               "user-colon",
               "The user name contains ':': the server takes what follows as the password",
               change("--user NAME", "changes it"));
        warnIf(bPassword && !bInUrl && strUser.empty(),
               "password-unused",
               "The password is never sent: there is neither a user name nor <password> in the URL",
               change("--user NAME", "sets a user name"));
        warnIf(!bPassword && (bInUrl || !strUser.empty()),
               "no-password",
               "No password is set",
               "'cfgctl account password " + idOrPlaceholder() + "' sets it");
        warnIf(text(dbm::DynDns_ExpectedResultSubString).find('\n') != std::string::npos,
               "expect-line-feed",
               "The expected text contains a line feed, so no answer can contain it",
               change("--expect TEXT", "changes it"));
    }

    const korrin::ValueList& m_oAccount;
    const StatusSources& m_oSources;
    const std::string m_strInterface;
    const korrin::ValueList& m_oWatch;
    const bool m_bWatcherMissing;
    std::vector<Problem> m_oFound;
};

} // namespace

std::vector<Problem> findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    return Finder(a_oAccount, a_oSources).find();
}

bool tellsOfWatcher(const Problem& a_oProblem)
{
    return a_oProblem.m_strCode == g_pAddressCode || a_oProblem.m_strCode == g_pNotMonitoredCode;
}

std::string tellProblem(const Problem& a_oProblem)
{
    return a_oProblem.m_strWhat + "; " + a_oProblem.m_strNext;
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
