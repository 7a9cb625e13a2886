#include "platform/client/pendingtables.h"

#include <algorithm>
#include <utility>

namespace vadro::cfg
{

void PendingTables::watch(const std::list<std::string>& a_oNames)
{
    m_oTables.clear();
    for (const std::string& strName : a_oNames)
    {
        if (find(strName) == nullptr)
        {
            m_oTables.push_back({strName, false});
        }
    }
}

std::list<std::string> PendingTables::getWatched() const
{
    std::list<std::string> oNames;
    for (const Table& oTable : m_oTables)
    {
        oNames.push_back(oTable.m_strName);
    }
    return oNames;
}

void PendingTables::mark(const std::string& a_strTable)
{
    if (Table* pTable = find(a_strTable))
    {
        pTable->m_bPending = true;
    }
}

void PendingTables::markFirst()
{
    if (!m_oTables.empty())
    {
        m_oTables.front().m_bPending = true;
    }
}

void PendingTables::markAll()
{
    for (Table& oTable : m_oTables)
    {
        oTable.m_bPending = true;
    }
}

bool PendingTables::isEmpty() const
{
    return std::none_of(m_oTables.begin(), m_oTables.end(), [](const Table& a_oTable) { return a_oTable.m_bPending; });
}

std::vector<std::string> PendingTables::getPending() const
{
    std::vector<std::string> oNames;
    for (const Table& oTable : m_oTables)
    {
        if (oTable.m_bPending)
        {
            oNames.push_back(oTable.m_strName);
        }
    }
    return oNames;
}

bool PendingTables::take(const std::string& a_strTable)
{
    Table* pTable = find(a_strTable);
    return pTable != nullptr && std::exchange(pTable->m_bPending, false);
}

PendingTables::Table* PendingTables::find(const std::string& a_strTable)
{
    const auto it = std::find_if(
        m_oTables.begin(), m_oTables.end(), [&](const Table& a_oTable) { return a_oTable.m_strName == a_strTable; });
    return it != m_oTables.end() ? &*it : nullptr;
}

} // namespace vadro::cfg
