#include "cfgctl/account/accountchange.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"

namespace cfgctl
{

namespace
{

std::string showChange(const korrin::ValueList& a_oRow,
                       const Provider* a_pProvider,
                       const korrin::ValueList& a_oColumns,
                       const Layout& a_oLayout)
{
    const auto show = [&](const std::string& a_strColumn, const std::string& a_strValue)
    {
        const bool bKnownUrl = a_pProvider != nullptr && a_strColumn == dbm::DynDns_ServerAddr;
        return bKnownUrl ? hideTemplate(a_strValue, {a_pProvider->m_strUrl, a_pProvider->m_strUrlDual})
                         : hideSecret(dbm::Table_DynDns, a_strColumn, a_strValue);
    };
    Table oTable{{"Column", "Was", "Is"}, {}};
    for (const auto& [strColumn, oValue] : a_oColumns)
    {
        oTable.m_oRows.push_back(
            {{strColumn}, {show(strColumn, textOf(a_oRow, strColumn))}, {show(strColumn, oValue.getText())}});
    }
    return renderTable(oTable, a_oLayout);
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
    const Provider* pProvider = recogniseProvider(oProviders, oRow);
    const ChangePlan oPlan = planChange(oRow, pProvider, a_oOptions.m_oAccount.m_oChange);
    std::string strText = "Nothing to change: " + nameAccount(oRow) + " is like that already.\n";
    std::vector<std::string> oChanged;
    if (!oPlan.m_oColumns.empty())
    {
        a_oDatabase.updateRow(dbm::Table_DynDns, textOf(oRow, dbm::Id), oPlan.m_oColumns);
        a_oDatabase.commit();
        oChanged = {textOf(oRow, dbm::Id)};
        strText = "Changed " + nameAccount(oRow) + ":\n" +
                  showChange(oRow, pProvider, oPlan.m_oColumns, a_oOptions.m_oLayout);
        complainOfProblems(applied(oRow, oPlan.m_oColumns), readSources(a_oDatabase));
    }
    const std::string strTold = tellChange(a_oDatabase, a_oOptions, oChanged, strText + joinLines(oPlan.m_oNotes));
    return a_oOptions.m_bJson ? changeToJson(oRow, oPlan.m_oColumns) : strTold;
}

} // namespace cfgctl
