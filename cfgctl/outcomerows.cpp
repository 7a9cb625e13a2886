#include "cfgctl/outcomerows.h"

#include "cfgctl/account/attempts.h"
#include "cfgctl/timestamp.h"
#include "platform/common/values.h"

#include <string>

namespace cfgctl
{

namespace
{

constexpr const char* s_pNever = "never";

const char* nameLast(const korrin::ValueList& a_oStatus)
{
    if (a_oStatus.empty())
    {
        return s_pNever;
    }
    const bool bUpdated = a_oStatus.getValue(dbm::DynDnsStatus_Success).getInteger() != 0;
    return nameOutcome(bUpdated ? Outcome::Updated : Outcome::Failed);
}

bool isNull(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getType() == korrin::eValueNull;
}

Cell interfaceCell(const korrin::ValueList& a_oRow)
{
    const std::string& strName = a_oRow.getValue(dbm::Interface).getText();
    if (strName.empty())
    {
        return {"none", Style::Bad};
    }
    if (isNull(a_oRow, "InterfaceUp"))
    {
        return {strName + " not monitored", Style::Bad};
    }
    if (a_oRow.getValue("InterfaceUp").getInteger() == 0)
    {
        return {strName + " down", Style::Bad};
    }
    std::string strText = strName + " up";
    for (const char* pColumn : {"Addr", "Addr6"})
    {
        const std::string& strAddress = a_oRow.getValue(pColumn).getText();
        strText += (strAddress.empty() ? "" : " ") + strAddress;
    }
    return {strText};
}

/// What happened last, and how long ago.
Cell lastCell(const korrin::ValueList& a_oRow)
{
    const std::string& strOutcome = a_oRow.getValue("Outcome").getText();
    if (strOutcome == s_pNever)
    {
        return {"not tried yet", Style::Faint};
    }
    const bool bGood = strOutcome == nameOutcome(Outcome::Updated);
    const std::string strWhen = isNull(a_oRow, "AgeSeconds") ? a_oRow.getValue(dbm::DynDnsStatus_Timestamp).getText()
                                                             : describeAge(a_oRow.getValue("AgeSeconds").getInteger());
    return {(bGood ? "updated " : "failed ") + strWhen, bGood ? Style::Good : Style::Bad};
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

Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow)
{
    Rows oResult;
    for (const korrin::ValueList& oAccount : a_oSources.m_oAccounts)
    {
        const std::string& strId = oAccount.getValue(dbm::Id).getText();
        const std::string& strInterface = oAccount.getValue(dbm::Interface).getText();
        const korrin::ValueList& oInterface = findLast(a_oSources.m_oInterfaces, dbm::Name, strInterface);
        const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
        const korrin::ValueList& oLog = findLast(a_oSources.m_oLog, dbm::DynDnsStatus_DynDnsId, strId);
        korrin::ValueList oRow;
        for (const char* pColumn : {dbm::Id, dbm::DynDns_Hostname, dbm::DynDns_ServiceType, dbm::Interface})
        {
            oRow.add(pColumn, oAccount.getValue(pColumn));
        }
        oRow.add("InterfaceUp", oInterface.getValue(dbm::IsUp));
        oRow.add(dbm::Addr, oInterface.getValue(dbm::Addr));
        oRow.add("Addr6", findLast(a_oSources.m_oIPv6, dbm::Name, strInterface).getValue(dbm::Addr));
        oRow.add(dbm::Enable, oAccount.getValue(dbm::Enable));
        oRow.add("Outcome", platform::text(nameLast(oStatus)));
        oRow.add(dbm::DynDnsStatus_Timestamp, oStatus.getValue(dbm::DynDnsStatus_Timestamp));
        oRow.add("AgeSeconds", ageOf(oStatus.getValue(dbm::DynDnsStatus_Timestamp).getText(), a_iNow));
        oRow.add(dbm::DynDnsLog_ResponseCode, oLog.getValue(dbm::DynDnsLog_ResponseCode));
        oRow.add(dbm::DynDnsLog_Response, oLog.getValue(dbm::DynDnsLog_Response));
        oRow.add("Next", platform::text(describeNext(oAccount, a_oSources, a_iNow)));
        oResult.push_back(std::move(oRow));
    }
    return oResult;
}

Table makeStatusTable(const Rows& a_oStatusRows)
{
    Table oTable;
    oTable.m_oHeadings = {"Id", "Hostname", "Interface", "Last", "Answer", "Next"};
    for (const korrin::ValueList& oRow : a_oStatusRows)
    {
        const bool bEnabled = oRow.getValue(dbm::Enable).getInteger() != 0;
        oTable.m_oRows.push_back({{oRow.getValue(dbm::Id).getText(), Style::Plain, true},
                                  {oRow.getValue(dbm::DynDns_Hostname).getText()},
                                  interfaceCell(oRow),
                                  lastCell(oRow),
                                  {oRow.getValue(dbm::DynDnsLog_Response).getText()},
                                  {oRow.getValue("Next").getText(), bEnabled ? Style::Plain : Style::Faint}});
    }
    return oTable;
}

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
