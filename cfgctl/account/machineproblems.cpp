#include "cfgctl/account/activity.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/problemfinder.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/text.h"
#include "resolver/serverlist.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

using quorvad::EInterfaceState;

class MachineProblems : public ProblemFinder
{
public:
    using ProblemFinder::ProblemFinder;

    void find()
    {
        checkDaemon();
        if (checkInterface())
        {
            checkAddresses();
            checkNameservers();
        }
        checkWatcher();
    }

private:
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
    [[nodiscard]] static std::string startWatcher()
    {
        return "start the watcher with '" + startCommand(g_pWatcher) + "'";
    }

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

    /// Of the addresses that are announced. While a watcher runs, the table follows the kernel within a moment.
    void checkAddresses()
    {
        if (!m_bWatcherMissing || stateHere() != EInterfaceState::eRunning)
        {
            return;
        }
        const std::string strUrl = text(dbm::DynDns_ServerAddr);
        const quorvad::UrlValues oValues = urlValuesOf(m_oAccount, m_oSources);
        if (isGnudip(m_oAccount) || hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr))
        {
            checkAddress("IPv4", oValues.m_strIpAddr, '.');
        }
        if (!isGnudip(m_oAccount) && hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr6))
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
        const std::string strHere = join(oHere, ", ");
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

    const bool m_bWatcherMissing = !isConnected(m_oSources, g_pWatcher).value_or(true);
};

} // namespace

void findMachineProblems(const korrin::ValueList& a_oAccount,
                         const StatusSources& a_oSources,
                         std::vector<Problem>& a_oFound)
{
    MachineProblems(a_oAccount, a_oSources, a_oFound).find();
}

} // namespace cfgctl
