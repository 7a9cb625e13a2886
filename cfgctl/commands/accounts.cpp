#include "cfgctl/commands/accounts.h"

#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"

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

} // namespace cfgctl
