#include "cfgctl/commands/commands.h"
#include "cfgctl/outputfile.h"
#include "cfgctl/secrets.h"

#include <algorithm>
#include <array>

namespace cfgctl
{

namespace
{

/// Tables that other programs fill with the state of the moment. Putting an old one back would only mislead the daemon,
/// so they are exported when asked for.
bool tellsState(const std::string& a_strTable)
{
    constexpr std::array<std::string_view, 4> oStates{
        "StatusNetifWatch", "StatusNetIfIPv6Addresses", "DynDnsStatus", "DynDnsLog"};
    return std::find(oStates.begin(), oStates.end(), a_strTable) != oStates.end();
}

std::vector<std::string> chooseTables(Database& a_oDatabase, const Options& a_oOptions)
{
    if (!a_oOptions.m_oTables.empty())
    {
        return a_oOptions.m_oTables;
    }
    std::vector<std::string> oTables = a_oDatabase.getTables();
    if (!a_oOptions.m_bAll)
    {
        oTables.erase(std::remove_if(oTables.begin(), oTables.end(), tellsState), oTables.end());
    }
    return oTables;
}

} // namespace

std::string runExport(Database& a_oDatabase, const Options& a_oOptions)
{
    std::vector<std::pair<std::string, Rows>> oTables;
    for (const std::string& strTable : chooseTables(a_oDatabase, a_oOptions))
    {
        Rows oRows = a_oDatabase.getRows(strTable);
        for (korrin::ValueList& oRow : oRows)
        {
            if (!a_oOptions.m_bShowSecrets)
            {
                hideSecrets(strTable, oRow);
            }
        }
        oTables.emplace_back(strTable, std::move(oRows));
    }
    std::string strJson = tablesToJson(oTables) + "\n";
    if (a_oOptions.m_strFile == "-")
    {
        return strJson;
    }
    writeFile(a_oOptions.m_strFile, strJson);
    return {};
}

} // namespace cfgctl
