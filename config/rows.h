#pragma once

#include "config/configobjects.h"
#include "config/schema.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <map>
#include <memory>
#include <string>

namespace quorvad
{

// Questions about cached rows, for the decision step and the dispatch. None of them adds an entry to a map.

/// The row of that key, null when there is none.
[[nodiscard]] inline const ConfigObject* findRow(const std::map<std::string, std::unique_ptr<ConfigObject>>& a_oRows,
                                                 const std::string& a_strKey)
{
    const auto it = a_oRows.find(a_strKey);
    return it != a_oRows.end() ? it->second.get() : nullptr;
}

[[nodiscard]] inline bool isChanged(const std::unique_ptr<ConfigObject>& a_pRow)
{
    return a_pRow && a_pRow->m_bChanged;
}

[[nodiscard]] inline bool isEnabled(const ConfigObject& a_oAccount)
{
    return a_oAccount.getValue(dbm::Enable).getInteger() != 0;
}

[[nodiscard]] inline bool isUp(const ConfigObject& a_oNetifWatch)
{
    return a_oNetifWatch.getValue(dbm::IsUp).getInteger() != 0;
}

/// An account without the column Interface is on the interface of the empty name.
[[nodiscard]] inline bool isOn(const std::unique_ptr<ConfigObject>& a_pAccount, const std::string& a_strInterface)
{
    return a_pAccount && textOf(*a_pAccount, dbm::Interface) == a_strInterface;
}

/// Calls a_oVisit with every row of the table that can be read, all columns, in table order. A row that cannot be
/// read is skipped; a table whose rows cannot be counted reads as empty. Blocks for the client's calls.
template<typename Visitor>
void forEachRow(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable, Visitor a_oVisit)
{
    unsigned int uiCount = 0;
    a_oClient.getrowcount(a_strTable, uiCount);
    korrin::NameList oColumns;
    korrin::ValueList oRow;
    for (unsigned int uiIndex = 0; uiIndex < uiCount; ++uiIndex)
    {
        oColumns.clear();
        oRow.clear();
        if (a_oClient.getrow(a_strTable, uiIndex, oColumns, oRow) == 0)
        {
            a_oVisit(oRow);
        }
    }
}

} // namespace quorvad
