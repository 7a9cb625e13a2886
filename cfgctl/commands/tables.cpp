#include "cfgctl/commands/commands.h"

namespace cfgctl
{

namespace
{

korrin::Value makeText(const std::string& a_strText)
{
    return {korrin::eValueText, a_strText};
}

Rows listTables(Database& a_oDatabase)
{
    Rows oResult;
    for (const std::string& strTable : a_oDatabase.getTables())
    {
        korrin::ValueList oRow;
        oRow.add("Table", makeText(strTable));
        oRow.add("Rows", korrin::Value(korrin::eValueInteger, static_cast<int>(a_oDatabase.countRows(strTable))));
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
        oRow.add("Column", makeText(strColumn));
        oRow.add("Type", makeText(bInteger ? "integer" : "text"));
        oRow.add("Default", strColumn == "Id" ? makeText("given") : oDefault);
        oResult.push_back(std::move(oRow));
    }
    return oResult;
}

} // namespace

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

} // namespace cfgctl
