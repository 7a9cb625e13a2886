#include "netifwatch/printer.h"

#include "cfgctl/table.h"
#include "cfgctl/tablejson.h"
#include "netifwatch/dnsrows.h"
#include "netifwatch/machine.h"
#include "netifwatch/statusrows.h"
#include "netifwatch/tablenames.h"

#include <utility>
#include <vector>

namespace netifwatch
{

namespace
{

using Tables = std::vector<std::pair<std::string, Rows>>;

Rows insertedRows(const Operations& a_oOperations)
{
    Rows oRows;
    for (const Operation& oOperation : a_oOperations)
    {
        oRows.push_back(oOperation.m_oValues);
    }
    return oRows;
}

std::string renderRows(const Rows& a_oRows)
{
    if (a_oRows.empty())
    {
        return "(no rows)\n";
    }
    cfgctl::Table oTable;
    for (const auto& [strColumn, oValue] : a_oRows.front())
    {
        oTable.m_oHeadings.push_back(strColumn);
    }
    for (const korrin::ValueList& oRow : a_oRows)
    {
        std::vector<cfgctl::Cell>& oCells = oTable.m_oRows.emplace_back();
        for (const auto& [strColumn, oValue] : oRow)
        {
            oCells.push_back({oValue.getText(), cfgctl::Style::Plain, oValue.getType() == korrin::eValueInteger});
        }
    }
    return cfgctl::renderTable(oTable, cfgctl::layoutOfStandardOutput());
}

} // namespace

std::string printState(const Options& a_oOptions)
{
    const InterfaceFilter oFilter(a_oOptions.m_oInterfaces, a_oOptions.m_oExcluded);
    const MachineState oState = readMachine(a_oOptions, oFilter);
    Tables oTables = {{g_pIPv4Table, makeIPv4Rows(oState.m_oInterfaces, oFilter)},
                      {g_pIPv6Table, makeIPv6Rows(oState.m_oInterfaces, oFilter, {})}};
    if (oState.m_oServers)
    {
        oTables.emplace_back(g_pDnsTable, insertedRows(planServers(*oState.m_oServers, {}, {}, {}, oFilter)));
    }
    if (a_oOptions.m_bJson)
    {
        return cfgctl::tablesToJson(oTables) + "\n";
    }
    std::string strText;
    for (const auto& [strTable, oRows] : oTables)
    {
        strText += (strText.empty() ? "" : "\n") + strTable + "\n" + renderRows(oRows);
    }
    return strText;
}

} // namespace netifwatch
