#include "cfgctl/assignment.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/secrets.h"

namespace cfgctl
{

namespace
{

using platform::text;

/// a_oColumns: names, and values of the columns' types.
Table makeTable(const korrin::ValueList& a_oColumns, const Rows& a_oRows)
{
    Table oTable;
    for (const auto& [strColumn, oType] : a_oColumns)
    {
        oTable.m_oHeadings.push_back(strColumn);
    }
    for (const korrin::ValueList& oRow : a_oRows)
    {
        std::vector<Cell>& oCells = oTable.m_oRows.emplace_back();
        for (const auto& [strColumn, oType] : a_oColumns)
        {
            oCells.push_back({textOf(oRow, strColumn), Style::Plain, oType.getType() == korrin::eValueInteger});
        }
    }
    return oTable;
}

Rows listTables(Database& a_oDatabase)
{
    Rows oResult;
    for (const std::string& strTable : a_oDatabase.getTables())
    {
        const auto iRows = static_cast<int>(a_oDatabase.countRows(strTable));
        oResult.push_back(platform::row({{"Table", text(strTable)}, {"Rows", platform::integer(iRows)}}));
    }
    return oResult;
}

Rows listColumns(Database& a_oDatabase, const std::string& a_strTable)
{
    Rows oResult;
    for (const auto& [strColumn, oDefault] : a_oDatabase.getColumns(a_strTable))
    {
        oResult.push_back(
            platform::row({{"Column", text(strColumn)},
                           {"Type", text(oDefault.getType() == korrin::eValueInteger ? "integer" : "text")},
                           {"Default", strColumn == "Id" ? text("given") : oDefault}}));
    }
    return oResult;
}

} // namespace

std::string runShow(Database& a_oDatabase, const Options& a_oOptions)
{
    Rows oRows = selectRows(a_oDatabase, a_oOptions.m_strTable, a_oOptions.m_oKey);
    if (!a_oOptions.m_bShowSecrets)
    {
        hideSecrets(a_oOptions.m_strTable, oRows);
    }
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows);
    }
    return renderTable(makeTable(a_oDatabase.getColumns(a_oOptions.m_strTable), oRows), a_oOptions.m_oLayout);
}

std::string runTables(Database& a_oDatabase, const Options& a_oOptions)
{
    const bool bOne = !a_oOptions.m_strTable.empty();
    const Rows oRows = bOne ? listColumns(a_oDatabase, a_oOptions.m_strTable) : listTables(a_oDatabase);
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows);
    }
    const korrin::ValueList oColumns =
        bOne ? platform::row({{"Column", text("")}, {"Type", text("")}, {"Default", text("")}})
             : platform::row({{"Table", text("")}, {"Rows", platform::integer(0)}});
    return renderTable(makeTable(oColumns, oRows), a_oOptions.m_oLayout);
}

std::string runAdd(Database& a_oDatabase, const Options& a_oOptions)
{
    const korrin::ValueList oRow = makeRow(a_oDatabase, a_oOptions.m_strTable, a_oOptions.m_oValues);
    const korrin::Value oId = a_oDatabase.addRow(a_oOptions.m_strTable, oRow, a_oOptions.m_oAccessTimeout);
    return a_oOptions.m_bJson ? rowToJson(platform::row({{"Id", oId}})) : oId.getText() + "\n";
}

std::string runSet(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    const korrin::ValueList oRow = makeRow(a_oDatabase, strTable, a_oOptions.m_oValues);
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    a_oDatabase.updateRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey), oRow);
    a_oDatabase.commit();
    return {};
}

std::string runDelete(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    a_oDatabase.deleteRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey));
    a_oDatabase.commit();
    return {};
}

} // namespace cfgctl
