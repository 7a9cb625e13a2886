#include "cfgserver/activity.h"

#include "platform/common/values.h"

#include <algorithm>
#include <limits>

namespace cfgserver
{

namespace
{

namespace dbm = quorvad::dbm;
using platform::integer;
using platform::row;
using platform::text;

/// Whole seconds, as far as a column holds them.
korrin::Value secondsBetween(Clock::time_point a_oBegin, Clock::time_point a_oEnd)
{
    const auto iSeconds = std::chrono::duration_cast<std::chrono::seconds>(a_oEnd - a_oBegin).count();
    return integer(static_cast<int>(std::clamp<long long>(iSeconds, 0, std::numeric_limits<int>::max())));
}

} // namespace

Activity::Activity() : m_oChanges(getSchema().size())
{
}

void Activity::leave(const Client& a_oClient)
{
    m_oClients.erase(std::remove(m_oClients.begin(), m_oClients.end(), &a_oClient), m_oClients.end());
}

void Activity::noteCommit(Client& a_oClient,
                          const std::vector<std::size_t>& a_oChanged,
                          Clock::time_point a_oNow) noexcept
{
    a_oClient.m_iCommits += a_oChanged.empty() || a_oClient.m_iCommits == std::numeric_limits<int>::max() ? 0 : 1;
    for (const std::size_t uiTable : a_oChanged)
    {
        m_oChanges[uiTable].m_bAny = true;
        m_oChanges[uiTable].m_oWhen = a_oNow;
        try
        {
            m_oChanges[uiTable].m_strBy = a_oClient.m_strName;
        }
        catch (const std::bad_alloc&)
        {
        }
    }
}

Table Activity::makeTable(const TableSchema& a_oSchema, Clock::time_point a_oNow) const
{
    Table oTable(a_oSchema);
    const bool bClients = a_oSchema.m_strName == dbm::Table_StatusServiceClients;
    for (const korrin::ValueList& oRow : bClients ? listClients(a_oNow) : listTables(a_oNow))
    {
        oTable.insert(oRow);
    }
    return oTable;
}

std::vector<korrin::ValueList> Activity::listClients(Clock::time_point a_oNow) const
{
    std::vector<korrin::ValueList> oRows;
    for (const Client* pClient : m_oClients)
    {
        oRows.push_back(
            row({{dbm::Name, text(pClient->m_strName)},
                 {dbm::StatusServiceClients_Pid, integer(pClient->m_iPid)},
                 {dbm::StatusServiceClients_User, integer(static_cast<int>(pClient->m_uiUser))},
                 {dbm::StatusServiceClients_ConnectedSeconds, secondsBetween(pClient->m_oConnected, a_oNow)},
                 {dbm::StatusServiceClients_RunningSeconds, secondsBetween(pClient->m_oStarted, a_oNow)},
                 {dbm::StatusServiceClients_ReadOnly, integer(pClient->m_bReadOnly ? 1 : 0)},
                 {dbm::StatusServiceClients_Commits, integer(pClient->m_iCommits)}}));
    }
    return oRows;
}

std::vector<korrin::ValueList> Activity::listTables(Clock::time_point a_oNow) const
{
    std::vector<korrin::ValueList> oRows;
    for (std::size_t uiTable = 0; uiTable < m_oChanges.size(); ++uiTable)
    {
        const TableSchema& oSchema = getSchema()[uiTable];
        if (!oSchema.m_bComputed)
        {
            const Change& oChange = m_oChanges[uiTable];
            oRows.push_back(row({{dbm::Name, text(oSchema.m_strName)},
                                 {dbm::StatusServiceTables_ChangedSeconds,
                                  oChange.m_bAny ? secondsBetween(oChange.m_oWhen, a_oNow) : integer(-1)},
                                 {dbm::StatusServiceTables_ChangedBy, text(oChange.m_strBy)}}));
        }
    }
    return oRows;
}

} // namespace cfgserver
