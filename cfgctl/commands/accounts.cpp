#include "cfgctl/commands/accounts.h"

#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "platform/common/values.h"

namespace cfgctl
{

Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds)
{
    const Rows oAll = a_oDatabase.getRows(dbm::Table_DynDns);
    Rows oRows;
    for (const int iId : a_oIds)
    {
        const korrin::ValueList& oRow = findLast(oAll, dbm::Id, std::to_string(iId));
        if (oRow.empty())
        {
            throw Failure("No account " + std::to_string(iId) + "; 'cfgctl account list' shows all");
        }
        oRows.push_back(oRow);
    }
    return oRows;
}

std::string nameAccount(const korrin::ValueList& a_oRow)
{
    return "account " + a_oRow.getValue(dbm::Id).getText() + " (" + a_oRow.getValue(dbm::DynDns_Hostname).getText() +
           ")";
}

Providers readProviders(const std::string& a_strMore)
{
    ProviderList oList = loadProviders(a_strMore);
    for (const std::string& strComplaint : oList.m_oComplaints)
    {
        complain(strComplaint);
    }
    return std::move(oList.m_oProviders);
}

std::string nameProvider(const Providers& a_oProviders, const korrin::ValueList& a_oRow)
{
    if (const Provider* pProvider = recogniseProvider(a_oProviders, a_oRow))
    {
        return pProvider->m_strName;
    }
    const std::string& strServer = a_oRow.getValue(dbm::DynDns_ServerAddr).getText();
    return isGnudip(a_oRow) ? strServer : urlHost(strServer);
}

std::string runAccountList(Database& a_oDatabase, const Options& a_oOptions)
{
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    Rows oRows = a_oDatabase.getRows(dbm::Table_DynDns);
    Table oTable;
    oTable.m_oHeadings = {"Id", "Hostname", "Provider", "Interface", "User", "Tries", "Enabled"};
    for (korrin::ValueList& oRow : oRows)
    {
        const std::string strProvider = nameProvider(oProviders, oRow);
        const bool bEnabled = oRow.getValue(dbm::Enable).getInteger() != 0;
        const std::string strUser = oRow.getValue(dbm::DynDns_AccountUserName).getText();
        oTable.m_oRows.push_back({{oRow.getValue(dbm::Id).getText(), Style::Plain, true},
                                  {oRow.getValue(dbm::DynDns_Hostname).getText()},
                                  {strProvider},
                                  {oRow.getValue(dbm::Interface).getText()},
                                  {strUser.empty() ? "(none)" : strUser, strUser.empty() ? Style::Faint : Style::Plain},
                                  {oRow.getValue(dbm::DynDns_Retry).getText(), Style::Plain, true},
                                  {bEnabled ? "yes" : "no", bEnabled ? Style::Plain : Style::Faint}});
        oRow.add("Provider", platform::text(strProvider));
        if (!a_oOptions.m_bShowSecrets)
        {
            hideSecrets(dbm::Table_DynDns, oRow);
        }
    }
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows) + "\n";
    }
    if (oRows.empty())
    {
        complain("No accounts yet. Add one with: cfgctl account add --provider NAME --host HOST --interface NAME");
    }
    return renderTable(oTable, a_oOptions.m_oLayout);
}

} // namespace cfgctl
