#include "cfgctl/commands/commands.h"
#include "cfgctl/rowselection.h"
#include "cfgctl/secrets.h"

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

} // namespace cfgctl
