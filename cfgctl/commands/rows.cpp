#include "cfgctl/assignment.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/secrets.h"
#include "platform/common/values.h"

namespace cfgctl
{

namespace
{

Table makeTable(const korrin::ValueList& a_oColumns, const Rows& a_oRows)
{
    Table oTable;
    for (const auto& [strColumn, oDefault] : a_oColumns)
    {
        oTable.m_oHeadings.push_back(strColumn);
    }
    for (const korrin::ValueList& oRow : a_oRows)
    {
        std::vector<Cell> oCells;
        for (const auto& [strColumn, oDefault] : a_oColumns)
        {
            const bool bNumber = oDefault.getType() == korrin::eValueInteger;
            oCells.push_back({oRow.getValue(strColumn).getText(), Style::Plain, bNumber});
        }
        oTable.m_oRows.push_back(std::move(oCells));
    }
    return oTable;
}

Rows listTables(Database& a_oDatabase)
{
    Rows oResult;
    for (const std::string& strTable : a_oDatabase.getTables())
    {
        korrin::ValueList oRow;
        oRow.add("Table", platform::text(strTable));
        oRow.add("Rows", platform::integer(static_cast<int>(a_oDatabase.countRows(strTable))));
        oResult.push_back(std::move(oRow));
    }
    return oResult;
}

Rows listColumns(Database& a_oDatabase, const std::string& a_strTable)
{
    Rows oResult;
    for (const auto& [strColumn, oDefault] : a_oDatabase.getColumns(a_strTable))
    {
        korrin::ValueList oRow;
        const bool bInteger = oDefault.getType() == korrin::eValueInteger;
        oRow.add("Column", platform::text(strColumn));
        oRow.add("Type", platform::text(bInteger ? "integer" : "text"));
        oRow.add("Default", strColumn == "Id" ? platform::text("given") : oDefault);
        oResult.push_back(std::move(oRow));
    }
    return oResult;
}

} // namespace

std::string runShow(Database& a_oDatabase, const Options& a_oOptions)
{
    Rows oRows = selectRows(a_oDatabase, a_oOptions.m_strTable, a_oOptions.m_oKey);
    if (!a_oOptions.m_bShowSecrets)
    {
        for (korrin::ValueList& oRow : oRows)
        {
            hideSecrets(a_oOptions.m_strTable, oRow);
        }
    }
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows) + "\n";
    }
    return renderTable(makeTable(a_oDatabase.getColumns(a_oOptions.m_strTable), oRows), a_oOptions.m_oLayout);
}

std::string runTables(Database& a_oDatabase, const Options& a_oOptions)
{
    const bool bOne = !a_oOptions.m_strTable.empty();
    const Rows oRows = bOne ? listColumns(a_oDatabase, a_oOptions.m_strTable) : listTables(a_oDatabase);
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows) + "\n";
    }
    Table oTable;
    oTable.m_oHeadings =
        bOne ? std::vector<std::string>{"Column", "Type", "Default"} : std::vector<std::string>{"Table", "Rows"};
    for (const korrin::ValueList& oRow : oRows)
    {
        std::vector<Cell> oCells;
        for (const auto& [strColumn, oValue] : oRow)
        {
            oCells.push_back({oValue.getText(), Style::Plain, strColumn == "Rows"});
        }
        oTable.m_oRows.push_back(std::move(oCells));
    }
    return renderTable(oTable, a_oOptions.m_oLayout);
}

std::string runAdd(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    const korrin::ValueList oRow = makeRow(a_oDatabase, strTable, a_oOptions.m_oValues);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.insertRow(strTable, oRow);
    const korrin::Value oId = platform::integer(a_oDatabase.getLastId(strTable));
    a_oDatabase.commit();
    if (!a_oOptions.m_bJson)
    {
        return oId.getText() + "\n";
    }
    korrin::ValueList oResult;
    oResult.add("Id", oId);
    return rowToJson(oResult) + "\n";
}

std::string runSet(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    const korrin::ValueList oRow = makeRow(a_oDatabase, strTable, a_oOptions.m_oValues);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.updateRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey), oRow);
    a_oDatabase.commit();
    return {};
}

std::string runDelete(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.deleteRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey));
    a_oDatabase.commit();
    return {};
}

} // namespace cfgctl
