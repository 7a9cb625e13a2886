#include "cfgctl/logrows.h"

#include "cfgctl/account/attempts.h"
#include "cfgctl/answer.h"
#include "cfgctl/statusrows.h"
#include "cfgctl/text.h"
#include "cfgctl/timestamp.h"
#include "platform/common/values.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <tuple>
#include <vector>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiHostColumn = 2;
constexpr std::size_t s_uiAnswerColumn = 5;
constexpr std::size_t s_uiReadableAnswer = 40; ///< an age may take the rest

korrin::ValueList makeLogRow(const korrin::ValueList& a_oLog, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const korrin::Value& oAccountId = a_oLog.getValue(dbm::DynDnsLog_DynDnsId);
    const korrin::ValueList& oAccount = findLast(a_oSources.m_oAccounts, dbm::Id, oAccountId.getText());
    const korrin::Value& oTimestamp = a_oLog.getValue(dbm::DynDnsLog_Timestamp);
    const Outcome eOutcome = judgeAttempt(oAccount, a_oSources.m_oStatus, a_oLog);
    return platform::row({{dbm::Id, a_oLog.getValue(dbm::Id)},
                          {dbm::DynDnsLog_DynDnsId, oAccountId},
                          {dbm::DynDns_Hostname, oAccount.getValue(dbm::DynDns_Hostname)},
                          {dbm::Interface, oAccount.getValue(dbm::Interface)},
                          {dbm::DynDnsLog_Timestamp, oTimestamp},
                          {"AgeSeconds", ageOf(oTimestamp.getText(), a_iNow)},
                          {"Outcome", platform::text(nameOutcome(eOutcome))},
                          {dbm::DynDnsLog_ResponseCode, a_oLog.getValue(dbm::DynDnsLog_ResponseCode)},
                          {dbm::DynDnsLog_Response, a_oLog.getValue(dbm::DynDnsLog_Response)}});
}

/// Orders the rows whose time can be read; the others keep their places.
void sortByTime(std::vector<korrin::ValueList>& a_oRows)
{
    std::vector<std::size_t> oPlaces;
    std::vector<std::tuple<std::time_t, int, korrin::ValueList>> oTimed;
    for (std::size_t uiAt = 0; uiAt < a_oRows.size(); ++uiAt)
    {
        if (const auto oTime = parseTimestamp(textOf(a_oRows[uiAt], dbm::DynDnsLog_Timestamp)))
        {
            oPlaces.push_back(uiAt);
            oTimed.emplace_back(*oTime, a_oRows[uiAt].getValue(dbm::Id).getInteger(), a_oRows[uiAt]);
        }
    }
    std::stable_sort(oTimed.begin(),
                     oTimed.end(),
                     [](const auto& a_oLeft, const auto& a_oRight)
                     {
                         return std::tie(std::get<0>(a_oLeft), std::get<1>(a_oLeft)) <
                                std::tie(std::get<0>(a_oRight), std::get<1>(a_oRight));
                     });
    for (std::size_t uiAt = 0; uiAt < oPlaces.size(); ++uiAt)
    {
        a_oRows[oPlaces[uiAt]] = std::get<2>(oTimed[uiAt]);
    }
}

Cell hostCell(const korrin::ValueList& a_oRow)
{
    return isNull(a_oRow, dbm::DynDns_Hostname) ? Cell{"(account is gone)", Style::Faint}
                                                : Cell{textOf(a_oRow, dbm::DynDns_Hostname)};
}

std::string describeWhen(const korrin::ValueList& a_oRow)
{
    std::string strText = textOf(a_oRow, dbm::DynDnsLog_Timestamp);
    if (isNull(a_oRow, "AgeSeconds"))
    {
        return strText;
    }
    strText[strText.find('T')] = ' ';
    strText.erase(strText.size() - 5); // the zone
    return strText;
}

std::string describeWhenAndAge(const korrin::ValueList& a_oRow)
{
    const std::string strAge =
        isNull(a_oRow, "AgeSeconds") ? "" : " (" + describeAge(a_oRow.getValue("AgeSeconds").getInteger()) + ")";
    return describeWhen(a_oRow) + strAge;
}

std::vector<Cell> makeCells(const korrin::ValueList& a_oRow, const std::string& a_strWhen)
{
    const std::string strOutcome = textOf(a_oRow, "Outcome");
    return {{a_strWhen},
            {textOf(a_oRow, dbm::DynDnsLog_DynDnsId), Style::Plain, true},
            hostCell(a_oRow),
            {strOutcome, styleOfOutcome(strOutcome)},
            {textOf(a_oRow, dbm::DynDnsLog_ResponseCode), Style::Plain, true},
            {readableAnswer(textOf(a_oRow, dbm::DynDnsLog_Response))}};
}

Table makeTable(const Rows& a_oLogRows, std::string (*a_pDescribeWhen)(const korrin::ValueList&))
{
    Table oTable{{"When", "Id", "Hostname", "Outcome", "Code", "Answer"}, {}, {s_uiAnswerColumn, s_uiHostColumn}};
    for (const korrin::ValueList& oRow : a_oLogRows)
    {
        oTable.m_oRows.push_back(makeCells(oRow, a_pDescribeWhen(oRow)));
    }
    return oTable;
}

bool isReadable(Table a_oTable, const Layout& a_oLayout)
{
    for (std::vector<Cell>& oRow : a_oTable.m_oRows)
    {
        oRow[s_uiAnswerColumn].m_strText = cutToWidth(oRow[s_uiAnswerColumn].m_strText, s_uiReadableAnswer);
    }
    std::istringstream oText(renderTable(a_oTable, {}));
    std::size_t uiWidth = 0;
    for (std::string strLine; std::getline(oText, strLine);)
    {
        uiWidth = std::max(uiWidth, displayWidth(strLine));
    }
    return a_oLayout.m_uiWidth == 0 || uiWidth <= a_oLayout.m_uiWidth;
}

bool isRefusal(const korrin::ValueList& a_oLogRow)
{
    const int iCode = a_oLogRow.getValue(dbm::DynDnsLog_ResponseCode).getInteger();
    return (iCode == 401 || iCode == 403) && textOf(a_oLogRow, "Outcome") == nameOutcome(Outcome::Failed);
}

} // namespace

Rows makeLogRows(const StatusSources& a_oSources, int a_iAccount, int a_iAfter, std::time_t a_iNow)
{
    std::vector<korrin::ValueList> oRows;
    for (const korrin::ValueList& oLog : a_oSources.m_oLog)
    {
        if (oLog.getValue(dbm::Id).getInteger() > a_iAfter &&
            (a_iAccount == 0 || oLog.getValue(dbm::DynDnsLog_DynDnsId).getInteger() == a_iAccount))
        {
            oRows.push_back(makeLogRow(oLog, a_oSources, a_iNow));
        }
    }
    sortByTime(oRows);
    return {oRows.begin(), oRows.end()};
}

StatusSources readLogSources(Database& a_oDatabase)
{
    StatusSources oSources;
    oSources.m_oAccounts = a_oDatabase.getRows(dbm::Table_DynDns);
    oSources.m_oLog = a_oDatabase.getRows(dbm::Table_DynDnsLog);
    // after the log: it decides on the log's newest row
    oSources.m_oStatus = a_oDatabase.getRows(dbm::Table_DynDnsStatus);
    return oSources;
}

std::string renderLog(const Rows& a_oLogRows, const Layout& a_oLayout)
{
    const Table oTable = makeTable(a_oLogRows, describeWhenAndAge);
    return renderTable(isReadable(oTable, a_oLayout) ? oTable : makeTable(a_oLogRows, describeWhen), a_oLayout);
}

std::string makeLogLine(const korrin::ValueList& a_oLogRow, const Layout& a_oLayout)
{
    Table oTable = makeTable({a_oLogRow}, describeWhen);
    oTable.m_oHeadings.assign(oTable.m_oHeadings.size(), "");
    std::string strText = renderTable(oTable, a_oLayout);
    if (strText.front() != '\n') // no line of empty headings: it became a block
    {
        Cell& oAnswer = oTable.m_oRows.front()[s_uiAnswerColumn];
        oAnswer.m_strText = cutToWidth(oAnswer.m_strText, s_uiReadableAnswer);
        strText = renderTable(oTable, {a_oLayout.m_bColours, 0});
    }
    return strText.substr(strText.find('\n') + 1);
}

std::string explainRefusals(const Rows& a_oLogRows)
{
    std::map<int, bool> oRefused; // whether the account's newest attempt was
    for (const korrin::ValueList& oRow : a_oLogRows)
    {
        oRefused[oRow.getValue(dbm::DynDnsLog_DynDnsId).getInteger()] = isRefusal(oRow);
    }
    std::vector<std::string> oIds;
    for (const auto& [iId, bRefused] : oRefused)
    {
        oIds.insert(oIds.end(), bRefused ? 1 : 0, std::to_string(iId));
    }
    return oIds.empty()
               ? ""
               : nameAccounts(oIds) + ": code 401 or 403 mostly means a wrong user name or password: 'cfgctl account "
                                      "password ID' and 'cfgctl account set ID --user USER' change them";
}

} // namespace cfgctl
