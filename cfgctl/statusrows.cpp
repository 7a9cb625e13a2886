#include "cfgctl/statusrows.h"

#include "cfgctl/account/nextstep.h"
#include "cfgctl/timestamp.h"

#include <string>

namespace cfgctl
{

namespace
{

const char* nameOutcome(const korrin::ValueList& a_oStatus)
{
    if (a_oStatus.empty())
    {
        return "never";
    }
    return a_oStatus.getValue("Success").getInteger() != 0 ? "ok" : "failed";
}

bool isNull(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getType() == korrin::eValueNull;
}

Cell interfaceCell(const korrin::ValueList& a_oRow)
{
    const std::string& strName = a_oRow.getValue("Interface").getText();
    if (strName.empty())
    {
        return {"none", Style::Bad};
    }
    if (isNull(a_oRow, "InterfaceUp"))
    {
        return {strName + " unknown", Style::Bad};
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
    if (strOutcome == "never")
    {
        return {"not tried yet", Style::Faint};
    }
    const bool bGood = strOutcome == "ok";
    const std::string strWhen = isNull(a_oRow, "AgeSeconds") ? a_oRow.getValue("Timestamp").getText()
                                                             : describeAge(a_oRow.getValue("AgeSeconds").getInteger());
    return {(bGood ? "updated " : "failed ") + strWhen, bGood ? Style::Good : Style::Bad};
}

} // namespace

Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow)
{
    Rows oResult;
    for (const korrin::ValueList& oAccount : a_oSources.m_oAccounts)
    {
        const std::string& strId = oAccount.getValue("Id").getText();
        const std::string& strInterface = oAccount.getValue("Interface").getText();
        const korrin::ValueList& oInterface = findLast(a_oSources.m_oInterfaces, "Name", strInterface);
        const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, "DynDnsId", strId);
        const korrin::ValueList& oLog = findLast(a_oSources.m_oLog, "DynDnsId", strId);
        korrin::ValueList oRow;
        for (const char* pColumn : {"Id", "Hostname", "ServiceType", "Interface"})
        {
            oRow.add(pColumn, oAccount.getValue(pColumn));
        }
        oRow.add("InterfaceUp", oInterface.getValue("IsUp"));
        oRow.add("Addr", oInterface.getValue("Addr"));
        oRow.add("Addr6", findLast(a_oSources.m_oIPv6, "Name", strInterface).getValue("Addr"));
        oRow.add("Enable", oAccount.getValue("Enable"));
        oRow.add("Outcome", korrin::Value(korrin::eValueText, nameOutcome(oStatus)));
        oRow.add("Timestamp", oStatus.getValue("Timestamp"));
        oRow.add("AgeSeconds", ageOf(oStatus.getValue("Timestamp").getText(), a_iNow));
        oRow.add("ResponseCode", oLog.getValue("ResponseCode"));
        oRow.add("Response", oLog.getValue("Response"));
        oRow.add("Next", korrin::Value(korrin::eValueText, describeNext(oAccount, a_oSources, a_iNow)));
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
        const bool bEnabled = oRow.getValue("Enable").getInteger() != 0;
        oTable.m_oRows.push_back({{oRow.getValue("Id").getText(), Style::Plain, true},
                                  {oRow.getValue("Hostname").getText()},
                                  interfaceCell(oRow),
                                  lastCell(oRow),
                                  {oRow.getValue("Response").getText()},
                                  {oRow.getValue("Next").getText(), bEnabled ? Style::Plain : Style::Faint}});
    }
    return oTable;
}

} // namespace cfgctl
