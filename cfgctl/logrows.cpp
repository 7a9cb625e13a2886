#include "cfgctl/logrows.h"

#include "cfgctl/account/attempts.h"
#include "cfgctl/timestamp.h"
#include "platform/common/values.h"

namespace cfgctl
{

namespace
{

bool isNull(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getType() == korrin::eValueNull;
}

Cell outcomeCell(const korrin::ValueList& a_oRow)
{
    const std::string& strOutcome = a_oRow.getValue("Outcome").getText();
    if (isNull(a_oRow, dbm::DynDns_Hostname))
    {
        return {"account is gone", Style::Faint};
    }
    if (strOutcome == nameOutcome(Outcome::Unknown))
    {
        return {strOutcome, Style::Faint};
    }
    const bool bUpdated = strOutcome == nameOutcome(Outcome::Updated);
    return {bUpdated ? "updated" : "failed", bUpdated ? Style::Good : Style::Bad};
}

std::string describeWhen(const korrin::ValueList& a_oRow)
{
    std::string strText = a_oRow.getValue(dbm::DynDnsLog_Timestamp).getText();
    if (isNull(a_oRow, "AgeSeconds"))
    {
        return strText;
    }
    strText[strText.find('T')] = ' ';
    strText.erase(strText.size() - 5); // the zone: the age says it all
    return strText;
}

std::vector<Cell> makeCells(const korrin::ValueList& a_oRow, const std::string& a_strWhen)
{
    return {{a_strWhen},
            {a_oRow.getValue(dbm::DynDnsLog_DynDnsId).getText(), Style::Plain, true},
            {a_oRow.getValue(dbm::DynDns_Hostname).getText()},
            outcomeCell(a_oRow),
            {a_oRow.getValue(dbm::DynDnsLog_ResponseCode).getText(), Style::Plain, true},
            {a_oRow.getValue(dbm::DynDnsLog_Response).getText()}};
}

} // namespace

Rows makeLogRows(const LogSources& a_oSources, int a_iAccount, int a_iAfter, std::time_t a_iNow)
{
    Rows oResult;
    for (const korrin::ValueList& oLog : a_oSources.m_oLog)
    {
        const korrin::Value& oAccountId = oLog.getValue(dbm::DynDnsLog_DynDnsId);
        if (oLog.getValue(dbm::Id).getInteger() <= a_iAfter ||
            (a_iAccount != 0 && oAccountId.getInteger() != a_iAccount))
        {
            continue;
        }
        const korrin::ValueList& oAccount = findLast(a_oSources.m_oAccounts, dbm::Id, oAccountId.getText());
        const korrin::Value& oTimestamp = oLog.getValue(dbm::DynDnsLog_Timestamp);
        korrin::ValueList oRow;
        oRow.add(dbm::Id, oLog.getValue(dbm::Id));
        oRow.add(dbm::DynDnsLog_DynDnsId, oAccountId);
        oRow.add(dbm::DynDns_Hostname, oAccount.getValue(dbm::DynDns_Hostname));
        oRow.add(dbm::DynDnsLog_Timestamp, oTimestamp);
        oRow.add("AgeSeconds", ageOf(oTimestamp.getText(), a_iNow));
        oRow.add("Outcome", platform::text(nameOutcome(judgeAttempt(oAccount, a_oSources.m_oStatus, oLog))));
        oRow.add(dbm::DynDnsLog_ResponseCode, oLog.getValue(dbm::DynDnsLog_ResponseCode));
        oRow.add(dbm::DynDnsLog_Response, oLog.getValue(dbm::DynDnsLog_Response));
        oResult.push_back(std::move(oRow));
    }
    return oResult;
}

Table makeLogTable(const Rows& a_oLogRows)
{
    Table oTable;
    oTable.m_oHeadings = {"When", "Id", "Hostname", "Outcome", "Code", "Answer"};
    for (const korrin::ValueList& oRow : a_oLogRows)
    {
        const korrin::Value& oAge = oRow.getValue("AgeSeconds");
        const std::string strAge =
            oAge.getType() == korrin::eValueNull ? std::string() : " (" + describeAge(oAge.getInteger()) + ")";
        oTable.m_oRows.push_back(makeCells(oRow, describeWhen(oRow) + strAge));
    }
    return oTable;
}

std::string makeLogLine(const korrin::ValueList& a_oLogRow, const Layout& a_oLayout)
{
    Layout oUnlimited = a_oLayout;
    oUnlimited.m_uiWidth = 0;
    Table oTable;
    oTable.m_oHeadings.resize(6);
    oTable.m_oRows.push_back(makeCells(a_oLogRow, describeWhen(a_oLogRow)));
    const std::string strText = renderTable(oTable, oUnlimited);
    return strText.substr(strText.find('\n') + 1); // without the headings
}

} // namespace cfgctl
