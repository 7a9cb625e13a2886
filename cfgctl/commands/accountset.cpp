#include "cfgctl/account/accountchange.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "platform/base/escape.h"

namespace cfgctl
{

namespace
{

/// A line per column. The update URL, which may hold keys, is only named.
std::string showChange(const korrin::ValueList& a_oRow, const korrin::ValueList& a_oColumns)
{
    const auto show = [](const std::string& a_strValue)
    { return a_strValue.empty() ? "(none)" : platform::escape(a_strValue); };
    std::string strText;
    for (const auto& [strColumn, oValue] : a_oColumns)
    {
        strText += "  " + strColumn +
                   (strColumn == dbm::DynDns_ServerAddr
                        ? " accordingly"
                        : ": " + show(textOf(a_oRow, strColumn)) + " -> " + show(oValue.getText())) +
                   "\n";
    }
    return strText;
}

/// The columns that have changed, with the Id.
std::string changeToJson(const korrin::ValueList& a_oRow, const korrin::ValueList& a_oColumns)
{
    Rows oRows{platform::row({{dbm::Id, a_oRow.getValue(dbm::Id)}})};
    oRows.front().insert(oRows.front().end(), a_oColumns.begin(), a_oColumns.end());
    hideSecrets(dbm::Table_DynDns, oRows);
    return rowToJson(oRows.front());
}

korrin::ValueList applied(korrin::ValueList a_oRow, const korrin::ValueList& a_oColumns)
{
    for (const auto& [strColumn, oValue] : a_oColumns)
    {
        a_oRow.remove(strColumn);
        a_oRow.add(strColumn, oValue);
    }
    return a_oRow;
}

} // namespace

std::string runAccountSet(Database& a_oDatabase, const Options& a_oOptions)
{
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout); // from here on, nobody else can change what is read
    const korrin::ValueList oRow = findAccount(a_oDatabase, a_oOptions.m_oAccount.m_strAccount);
    const ChangePlan oPlan = planChange(oRow, recogniseProvider(oProviders, oRow), a_oOptions.m_oAccount.m_oChange);
    if (oPlan.m_oColumns.empty())
    {
        const std::string strWhy =
            oPlan.m_oNotes.empty() ? showAccount(oRow) + " is like that already." : oPlan.m_oNotes.front();
        const std::string strText = joinLines({"Nothing to change: " + strWhy}, a_oOptions.m_oLayout);
        return a_oOptions.m_bJson ? changeToJson(oRow, {}) : strText;
    }
    a_oDatabase.updateRow(dbm::Table_DynDns, textOf(oRow, dbm::Id), oPlan.m_oColumns);
    a_oDatabase.commit();
    const korrin::ValueList oAfter = applied(oRow, oPlan.m_oColumns);
    const StatusSources oSources = readSources(a_oDatabase);
    const std::string strText = "Changed " + showAccount(oRow) + ":\n" + showChange(oRow, oPlan.m_oColumns) +
                                joinLines(oPlan.m_oNotes, a_oOptions.m_oLayout) + tellNextOf(oAfter, oSources);
    writeChange(a_oDatabase, a_oOptions, {textOf(oRow, dbm::Id)}, strText, changeToJson(oRow, oPlan.m_oColumns));
    warnAbout({}, oAfter, oSources);
    return {};
}

} // namespace cfgctl
