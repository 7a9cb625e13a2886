#include "cfgctl/logrows.h"

#include "cfgctl/account/outcome.h"
#include "cfgctl/timestamp.h"

namespace cfgctl
{

namespace
{

const char* nameOutcome(const korrin::ValueList& a_oAccount, const korrin::ValueList& a_oLog)
{
    if (a_oAccount.empty())
    {
        return "unknown";
    }
    return isSuccess(a_oAccount, a_oLog) ? "ok" : "failed";
}

Cell outcomeCell(const std::string& a_strOutcome)
{
    if (a_strOutcome == "unknown")
    {
        return {"account is gone", Style::Faint};
    }
    return {a_strOutcome == "ok" ? "updated" : "failed", a_strOutcome == "ok" ? Style::Good : Style::Bad};
}

std::string describeWhen(const korrin::ValueList& a_oRow)
{
    std::string strText = a_oRow.getValue("Timestamp").getText();
    if (a_oRow.getValue("AgeSeconds").getType() == korrin::eValueNull)
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
            {a_oRow.getValue("DynDnsId").getText(), Style::Plain, true},
            {a_oRow.getValue("Hostname").getText()},
            outcomeCell(a_oRow.getValue("Outcome").getText()),
            {a_oRow.getValue("ResponseCode").getText(), Style::Plain, true},
            {a_oRow.getValue("Response").getText()}};
}

} // namespace

Rows makeLogRows(const Rows& a_oAccounts, const Rows& a_oLog, int a_iAccount, int a_iAfter, std::time_t a_iNow)
{
    Rows oResult;
    for (const korrin::ValueList& oLog : a_oLog)
    {
        const korrin::Value& oAccountId = oLog.getValue("DynDnsId");
        if (oLog.getValue("Id").getInteger() <= a_iAfter || (a_iAccount != 0 && oAccountId.getInteger() != a_iAccount))
        {
            continue;
        }
        const korrin::ValueList& oAccount = findLast(a_oAccounts, "Id", oAccountId.getText());
        korrin::ValueList oRow;
        oRow.add("Id", oLog.getValue("Id"));
        oRow.add("DynDnsId", oAccountId);
        oRow.add("Hostname", oAccount.getValue("Hostname"));
        oRow.add("Timestamp", oLog.getValue("Timestamp"));
        oRow.add("AgeSeconds", ageOf(oLog.getValue("Timestamp").getText(), a_iNow));
        oRow.add("Outcome", korrin::Value(korrin::eValueText, nameOutcome(oAccount, oLog)));
        oRow.add("ResponseCode", oLog.getValue("ResponseCode"));
        oRow.add("Response", oLog.getValue("Response"));
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
