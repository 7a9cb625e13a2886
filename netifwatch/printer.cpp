#include "netifwatch/printer.h"

#include "netifwatch/machine.h"
#include "netifwatch/tableplan.h"
#include "platform/base/escape.h"
#include "platform/base/program.h"
#include "platform/common/valuejson.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace netifwatch
{

namespace
{

using Tables = std::vector<std::pair<std::string, Rows>>;
using Json = nlohmann::ordered_json;

constexpr int s_iIndent = 2;

Tables makeTables(const Options& a_oOptions)
{
    const MachineState oState = readMachine(a_oOptions);
    for (const std::string& strProblem : oState.m_oProblems)
    {
        platform::complain("netifwatch", strProblem);
    }
    Tables oTables = {{dbm::Table_StatusNetifWatch, makeIPv4Rows(oState.m_oInterfaces)},
                      {dbm::Table_StatusNetIfIPv6Addresses, makeIPv6Rows(oState.m_oInterfaces, {})}};
    if (oState.m_oServers)
    {
        Rows& oRows = oTables.emplace_back(dbm::Table_DNSClientServer, Rows()).second;
        for (const Operation& oInsertion : planServers(*oState.m_oServers, {}, {}, a_oOptions.m_oInterfaces))
        {
            oRows.push_back(oInsertion.m_oValues);
        }
    }
    return oTables;
}

std::string toJson(const Tables& a_oTables)
{
    Json oResult = Json::object();
    for (const auto& [strTable, oRows] : a_oTables)
    {
        oResult[strTable] = oRows;
    }
    return oResult.dump(s_iIndent) + "\n";
}

/// Characters of valid UTF-8, each taken as one column wide.
std::size_t widthOf(const std::string& a_strText)
{
    const auto isStart = [](char a_cByte) { return (static_cast<unsigned char>(a_cByte) & 0xc0U) != 0x80U; };
    return static_cast<std::size_t>(std::count_if(a_strText.begin(), a_strText.end(), isStart));
}

/// One column below its heading, padded to one width: numbers on the left, everything else on the right.
std::vector<std::string> makeColumn(const Rows& a_oRows, const std::string& a_strName)
{
    std::vector<std::string> oCells = {a_strName};
    for (const korrin::ValueList& oRow : a_oRows)
    {
        oCells.push_back(platform::escape(oRow.getValue(a_strName).getText()));
    }
    std::size_t uiWidth = 0;
    for (const std::string& strCell : oCells)
    {
        uiWidth = std::max(uiWidth, widthOf(strCell));
    }
    const bool bNumbers = a_oRows.front().getValue(a_strName).getType() == korrin::eValueInteger;
    for (std::string& strCell : oCells)
    {
        strCell.insert(bNumbers ? 0 : strCell.size(), uiWidth - widthOf(strCell), ' ');
    }
    return oCells;
}

std::string renderRows(const Rows& a_oRows)
{
    if (a_oRows.empty())
    {
        return "(no rows)\n";
    }
    std::vector<std::string> oLines(a_oRows.size() + 1);
    for (const auto& [strName, oValue] : a_oRows.front())
    {
        const std::vector<std::string> oCells = makeColumn(a_oRows, strName);
        for (std::size_t uiLine = 0; uiLine < oLines.size(); ++uiLine)
        {
            oLines[uiLine] += (oLines[uiLine].empty() ? "" : "  ") + oCells[uiLine];
        }
    }
    std::string strText;
    for (const std::string& strLine : oLines)
    {
        strText += strLine.substr(0, strLine.find_last_not_of(' ') + 1) + "\n";
    }
    return strText;
}

} // namespace

std::string printState(const Options& a_oOptions)
{
    const Tables oTables = makeTables(a_oOptions);
    if (a_oOptions.m_bJson)
    {
        return toJson(oTables);
    }
    std::string strText;
    for (const auto& [strTable, oRows] : oTables)
    {
        strText += (strText.empty() ? "" : "\n") + strTable + "\n" + renderRows(oRows);
    }
    return strText;
}

} // namespace netifwatch
