#include "cfgctl/importplan.h"

#include "cfgctl/errors.h"
#include "cfgctl/secrets.h"
#include "config/schema.h"

#include <algorithm>
#include <map>

namespace cfgctl
{

namespace
{

namespace dbm = quorvad::dbm;

std::string nameRow(const std::string& a_strTable, const korrin::ValueList& a_oRow)
{
    return a_oRow.hasValue("Id") ? a_strTable + " row with Id " + textOf(a_oRow, "Id")
                                 : "A " + a_strTable + " row without Id";
}

/// The value to store in one column; a_pPresent is the stored row, or null.
korrin::Value wantedValue(const std::string& a_strTable,
                          const std::string& a_strColumn,
                          const korrin::Value& a_oDefault,
                          const korrin::ValueList& a_oWanted,
                          const korrin::ValueList* a_pPresent)
{
    if (!a_oWanted.hasValue(a_strColumn))
    {
        const bool bKept = a_pPresent != nullptr && dbm::secrecyOf(a_strTable, a_strColumn) == dbm::ESecret::eWhole;
        return bKept ? a_pPresent->getValue(a_strColumn) : a_oDefault;
    }
    const korrin::Value& oWanted = a_oWanted.getValue(a_strColumn);
    if (!hasHiddenPart(a_strTable, a_strColumn, oWanted.getText()))
    {
        return oWanted;
    }
    if (a_pPresent != nullptr)
    {
        const korrin::Value& oPresent = a_pPresent->getValue(a_strColumn);
        if (hideSecret(a_strTable, a_strColumn, oPresent.getText()) == oWanted.getText())
        {
            return oPresent;
        }
    }
    throw Failure(nameRow(a_strTable, a_oWanted) + ": " + a_strColumn + " has a part hidden as \"" +
                  std::string(g_strHidden) +
                  "\", which no stored row completes; write the secret there, or export with --show-secrets");
}

korrin::ValueList completeRow(const std::string& a_strTable,
                              const korrin::ValueList& a_oColumns,
                              const korrin::ValueList& a_oWanted,
                              const korrin::ValueList* a_pPresent)
{
    korrin::ValueList oRow;
    for (const auto& [strColumn, oDefault] : a_oColumns)
    {
        if (strColumn != "Id")
        {
            oRow.add(strColumn, wantedValue(a_strTable, strColumn, oDefault, a_oWanted, a_pPresent));
        }
        else if (a_oWanted.hasValue("Id"))
        {
            oRow.add("Id", a_oWanted.getValue("Id"));
        }
    }
    return oRow;
}

/// Rows by their Id.
class RowIndex
{
public:
    explicit RowIndex(const Rows& a_oRows)
    {
        for (const korrin::ValueList& oRow : a_oRows)
        {
            m_oRows.emplace(oRow.getValue("Id").getInteger(), &oRow);
        }
    }
    /// The row of the same Id, or null.
    [[nodiscard]] const korrin::ValueList* find(const korrin::ValueList& a_oRow) const
    {
        const auto it = a_oRow.hasValue("Id") ? m_oRows.find(a_oRow.getValue("Id").getInteger()) : m_oRows.end();
        return it == m_oRows.end() ? nullptr : it->second;
    }
    [[nodiscard]] std::size_t getSize() const { return m_oRows.size(); }

private:
    std::map<int, const korrin::ValueList*> m_oRows;
};

Rows completeRows(const ImportedTable& a_oWanted, const korrin::ValueList& a_oColumns, const RowIndex& a_oPresent)
{
    Rows oNamed;
    Rows oNew; // get Ids above all others, those in the file included
    for (const korrin::ValueList& oWanted : a_oWanted.m_oRows)
    {
        Rows& oRows = oWanted.hasValue("Id") ? oNamed : oNew;
        oRows.push_back(completeRow(a_oWanted.m_strTable, a_oColumns, oWanted, a_oPresent.find(oWanted)));
    }
    oNamed.splice(oNamed.end(), oNew);
    return oNamed;
}

void count(TablePlan& a_oPlan, const Rows& a_oRows, const RowIndex& a_oPresent)
{
    for (const korrin::ValueList& oRow : a_oRows)
    {
        const korrin::ValueList* pPresent = a_oPresent.find(oRow);
        const bool bSame = pPresent != nullptr && *pPresent == oRow;
        ++(pPresent == nullptr ? a_oPlan.m_uiAdded : bSame ? a_oPlan.m_uiUnchanged : a_oPlan.m_uiChanged);
    }
    a_oPlan.m_uiDeleted = static_cast<unsigned>(a_oPresent.getSize()) - a_oPlan.m_uiChanged - a_oPlan.m_uiUnchanged;
}

/// A table that always has exactly one row, with that row's Id if it is missing. Throws Failure unless the file has
/// exactly that row.
ImportedTable completeFixedRow(ImportedTable a_oWanted, const Rows& a_oPresent, const RowIndex& a_oIndex)
{
    const std::string strOnlyRow = "Table " + a_oWanted.m_strTable + " always has exactly one row";
    require(a_oWanted.m_oRows.size() == 1,
            strOnlyRow + ", but the file gives it " + std::to_string(a_oWanted.m_oRows.size()));
    korrin::ValueList& oWanted = a_oWanted.m_oRows.front();
    if (!oWanted.hasValue("Id") && !a_oPresent.empty())
    {
        oWanted.add("Id", a_oPresent.front().getValue("Id"));
    }
    require(a_oIndex.find(oWanted) != nullptr, strOnlyRow + " with an Id of its own; leave the Id out");
    return a_oWanted;
}

TablePlan planFixedRow(const ImportedTable& a_oWanted, const korrin::ValueList& a_oColumns, const Rows& a_oPresent)
{
    TablePlan oPlan;
    oPlan.m_strTable = a_oWanted.m_strTable;
    const RowIndex oIndex(a_oPresent);
    Rows oRows = completeRows(completeFixedRow(a_oWanted, a_oPresent, oIndex), a_oColumns, oIndex);
    count(oPlan, oRows, oIndex);
    if (oPlan.m_uiChanged > 0)
    {
        oPlan.m_oUpdates = std::move(oRows);
    }
    return oPlan;
}

/// The rows that the file replaces.
Rows replacedRows(const ImportedTable& a_oWanted, Rows a_oPresent)
{
    const Rows oWanted(a_oWanted.m_oRows.begin(), a_oWanted.m_oRows.end());
    if (std::none_of(oWanted.begin(), oWanted.end(), isFoundByWatcher))
    {
        const RowIndex oNamed(oWanted);
        a_oPresent.remove_if([&](const korrin::ValueList& a_oRow)
                             { return isFoundByWatcher(a_oRow) && oNamed.find(a_oRow) == nullptr; });
    }
    return a_oPresent;
}

/// A table that always has exactly one row, which can only be updated.
bool hasFixedRow(const std::string& a_strTable)
{
    const auto uiTable = dbm::findTable(a_strTable);
    return uiTable && dbm::getSchema()[*uiTable].m_bFixedRow;
}

} // namespace

bool isFoundByWatcher(const korrin::ValueList& a_oRow)
{
    return textOf(a_oRow, dbm::DNSClientServer_Origin) == dbm::Origin_Watcher;
}

TablePlan planImport(const ImportedTable& a_oWanted, const korrin::ValueList& a_oColumns, const Rows& a_oPresent)
{
    if (hasFixedRow(a_oWanted.m_strTable))
    {
        return planFixedRow(a_oWanted, a_oColumns, a_oPresent);
    }
    TablePlan oPlan;
    oPlan.m_strTable = a_oWanted.m_strTable;
    const Rows oPresent = replacedRows(a_oWanted, a_oPresent);
    const RowIndex oIndex(oPresent);
    const Rows oRows = completeRows(a_oWanted, a_oColumns, oIndex);
    count(oPlan, oRows, oIndex);
    // From the first difference on, all rows are deleted and inserted again: the service only appends rows, and a row
    // still to be changed cannot collide with the unique value of another one.
    const auto [itPresent, itWanted] = std::mismatch(oPresent.begin(), oPresent.end(), oRows.begin(), oRows.end());
    for (auto it = itPresent; it != oPresent.end(); ++it)
    {
        oPlan.m_oDeletes.push_back(textOf(*it, "Id"));
    }
    oPlan.m_oInserts.assign(itWanted, oRows.end());
    return oPlan;
}

} // namespace cfgctl
