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

bool isNull(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getType() == korrin::eValueNull;
}

Cell interfaceCell(const korrin::ValueList& a_oRow)
{
    const std::string strName = textOf(a_oRow, dbm::Interface);
    if (strName.empty())
    {
        return {"none", Style::Bad};
    }
    if (isNull(a_oRow, "InterfaceUp"))
    {
        return {strName + " not monitored", Style::Bad};
    }
    if (!isSet(a_oRow, "InterfaceUp"))
    {
        return {strName + " down", Style::Bad};
    }
    std::string strText = strName + " up";
    for (const char* pColumn : {"Addr", "Addr6"})
    {
        const std::string strAddress = textOf(a_oRow, pColumn);
        strText += (strAddress.empty() ? "" : " ") + strAddress;
    }
    return {strText};
}

Cell lastCell(const korrin::ValueList& a_oRow)
{
    const std::string strOutcome = textOf(a_oRow, "Outcome");
    if (strOutcome == s_pNever)
    {
        return {"not tried yet", Style::Faint};
    }
    const std::string strWhen = isNull(a_oRow, "AgeSeconds") ? textOf(a_oRow, dbm::DynDnsStatus_Timestamp)
                                                             : describeAge(a_oRow.getValue("AgeSeconds").getInteger());
    return {strOutcome + " " + strWhen, styleOfOutcome(strOutcome)};
}

} // namespace

Style styleOfOutcome(const std::string& a_strOutcome)
{
    if (a_strOutcome == s_pNever || a_strOutcome == nameOutcome(Outcome::Unknown))
    {
        return Style::Faint;
    }
    return a_strOutcome == nameOutcome(Outcome::Failed) ? Style::Bad : Style::Good;
}

Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow)
{
    Rows oResult;
    for (const korrin::ValueList& oAccount : a_oSources.m_oAccounts)
    {
        const std::string strId = textOf(oAccount, dbm::Id);
        const std::string strInterface = textOf(oAccount, dbm::Interface);
        const korrin::ValueList& oInterface = findLast(a_oSources.m_oInterfaces, dbm::Name, strInterface);
        const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
        const korrin::ValueList& oLog = findLast(a_oSources.m_oLog, dbm::DynDnsStatus_DynDnsId, strId);
        const std::optional<Outcome> oLast = judgeLast(oAccount, a_oSources);
        const std::string strTimestamp = textOf(oStatus, dbm::DynDnsStatus_Timestamp);
        oResult.push_back(
            platform::row({{dbm::Id, oAccount.getValue(dbm::Id)},
                           {dbm::DynDns_Hostname, oAccount.getValue(dbm::DynDns_Hostname)},
                           {dbm::DynDns_ServiceType, oAccount.getValue(dbm::DynDns_ServiceType)},
                           {dbm::Interface, oAccount.getValue(dbm::Interface)},
                           {"InterfaceUp", oInterface.getValue(dbm::IsUp)},
                           {dbm::Addr, oInterface.getValue(dbm::Addr)},
                           {"Addr6", findLast(a_oSources.m_oIPv6, dbm::Name, strInterface).getValue(dbm::Addr)},
                           {dbm::Enable, oAccount.getValue(dbm::Enable)},
                           {"Outcome", platform::text(oLast ? nameOutcome(*oLast) : s_pNever)},
                           {dbm::DynDnsStatus_Timestamp, oStatus.getValue(dbm::DynDnsStatus_Timestamp)},
                           {"AgeSeconds", ageOf(strTimestamp, a_iNow)},
                           {dbm::DynDnsLog_ResponseCode, oLog.getValue(dbm::DynDnsLog_ResponseCode)},
                           {dbm::DynDnsLog_Response, oLog.getValue(dbm::DynDnsLog_Response)},
                           {"Next", platform::text(describeNext(oAccount, a_oSources, a_iNow))}}));
    }
    return oResult;
}

Table makeStatusTable(const Rows& a_oStatusRows)
{
    Table oTable{{"Id", "Hostname", "Interface", "Last", "Answer", "Next"}, {}};
    for (const korrin::ValueList& oRow : a_oStatusRows)
    {
        const bool bEnabled = isSet(oRow, dbm::Enable);
        oTable.m_oRows.push_back({{textOf(oRow, dbm::Id), Style::Plain, true},
                                  {textOf(oRow, dbm::DynDns_Hostname)},
                                  interfaceCell(oRow),
                                  lastCell(oRow),
                                  {textOf(oRow, dbm::DynDnsLog_Response)},
                                  {textOf(oRow, "Next"), bEnabled ? Style::Plain : Style::Faint}});
    }
    return oTable;
}

} // namespace cfgctl
