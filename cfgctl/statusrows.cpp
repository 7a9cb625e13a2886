#include "cfgctl/statusrows.h"

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

} // namespace cfgctl
