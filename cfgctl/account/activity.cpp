#include "cfgctl/account/activity.h"

#include "config/nameservers.h"

#include <algorithm>
#include <initializer_list>
#include <unistd.h>

namespace cfgctl
{

namespace
{

/// The daemon gives up if the service does not appear within that time of its start.
constexpr int s_iConnectSec = 60;

std::optional<Trigger> findDaemonStart(const StatusSources& a_oSources, std::time_t a_iNow)
{
    const korrin::ValueList& oClient = findLast(a_oSources.m_oClients, dbm::Name, g_pDaemon);
    if (oClient.empty())
    {
        return std::nullopt;
    }
    const int iRunning = oClient.getValue(dbm::StatusServiceClients_RunningSeconds).getInteger();
    const int iConnected = oClient.getValue(dbm::StatusServiceClients_ConnectedSeconds).getInteger();
    const std::time_t iStart = a_iNow - iRunning;
    // A later connection follows a lost one, and sends nothing.
    return Trigger{iStart, iStart + std::clamp(iRunning - iConnected, 0, s_iConnectSec)};
}

std::optional<Trigger>
findChange(const StatusSources& a_oSources, std::initializer_list<const char*> a_oTables, std::time_t a_iNow)
{
    std::optional<Trigger> oLast;
    for (const char* pTable : a_oTables)
    {
        const korrin::ValueList& oTable = findLast(a_oSources.m_oChanges, dbm::Name, pTable);
        const int iAge = oTable.empty() ? -1 : oTable.getValue(dbm::StatusServiceTables_ChangedSeconds).getInteger();
        if (iAge >= 0 && (!oLast || oLast->m_iTime < a_iNow - iAge))
        {
            oLast = {a_iNow - iAge, a_iNow - iAge};
        }
    }
    return oLast;
}

void takeLater(std::optional<Trigger>& a_oLast, const std::optional<Trigger>& a_oOther)
{
    if (a_oOther && (!a_oLast || a_oLast->m_iTime < a_oOther->m_iTime))
    {
        a_oLast = a_oOther;
    }
}

const korrin::ValueList& relayOf(const StatusSources& a_oSources)
{
    static const korrin::ValueList s_oNone;
    return a_oSources.m_oRelay.empty() ? s_oNone : a_oSources.m_oRelay.front();
}

/// The daemon takes the rows of DNSClientServer for new after any change of them or of an account.
bool isSentWithOthers(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    const bool bServer = std::any_of(a_oSources.m_oServers.begin(),
                                     a_oSources.m_oServers.end(),
                                     [&](const korrin::ValueList& a_oRow) {
                                         return isSet(a_oRow, dbm::Enable) &&
                                                textOf(a_oRow, dbm::Interface) == textOf(a_oAccount, dbm::Interface);
                                     });
    return bServer && !quorvad::usesUserServersOnly(relayOf(a_oSources));
}

bool wasTried(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    return !findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, textOf(a_oAccount, dbm::Id)).empty();
}

} // namespace

std::optional<bool> isConnected(const StatusSources& a_oSources, const std::string& a_strProgram)
{
    if (a_oSources.m_oClients.empty()) // this program is one of them
    {
        return std::nullopt;
    }
    return !findLast(a_oSources.m_oClients, dbm::Name, a_strProgram).empty();
}

std::string startCommand(const std::string& a_strProgram)
{
    return (access("/run/systemd/system", F_OK) == 0 ? "systemctl start " : "") + a_strProgram;
}

std::optional<Trigger>
findTrigger(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    std::optional<Trigger> oLast = findDaemonStart(a_oSources, a_iNow);
    if (!oLast)
    {
        return std::nullopt;
    }
    if (isSentWithOthers(a_oAccount, a_oSources))
    {
        takeLater(oLast, findChange(a_oSources, {dbm::Table_DynDns, dbm::Table_DNSClientServer}, a_iNow));
    }
    else if (!wasTried(a_oAccount, a_oSources))
    {
        takeLater(oLast, findChange(a_oSources, {dbm::Table_DynDns}, a_iNow));
    }
    if (quorvad::usesUserServers(relayOf(a_oSources)))
    {
        takeLater(oLast, findChange(a_oSources, {dbm::Table_DNSRelay}, a_iNow));
    }
    return oLast;
}

std::optional<Trigger>
findPossibleTrigger(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    if (!findDaemonStart(a_oSources, a_iNow))
    {
        return std::nullopt;
    }
    std::optional<Trigger> oLast =
        findChange(a_oSources, {dbm::Table_StatusNetifWatch, dbm::Table_StatusNetIfIPv6Addresses}, a_iNow);
    if (!isSentWithOthers(a_oAccount, a_oSources))
    {
        takeLater(oLast, findChange(a_oSources, {dbm::Table_DynDns}, a_iNow));
    }
    return oLast;
}

} // namespace cfgctl
