#include "cfgctl/commands/accounts.h"

#include "cfgctl/account/providerfile.h"
#include "cfgctl/account/sources.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"

namespace cfgctl
{

Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds)
{
    const Rows oAll = a_oDatabase.getRows("DynDns");
    Rows oRows;
    for (const int iId : a_oIds)
    {
        const korrin::ValueList& oRow = findLast(oAll, "Id", std::to_string(iId));
        if (oRow.empty())
        {
            throw Failure("There is no account " + std::to_string(iId) + "; 'cfgctl account list' shows them");
        }
        oRows.push_back(oRow);
    }
    return oRows;
}

std::string nameAccount(const korrin::ValueList& a_oRow)
{
    return "account " + a_oRow.getValue("Id").getText() + " (" + a_oRow.getValue("Hostname").getText() + ")";
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
    const std::string& strService = a_oRow.getValue("ServiceType").getText();
    const std::string& strServer = a_oRow.getValue("ServerAddr").getText();
    if (const Provider* pProvider = recogniseProvider(a_oProviders, strService, strServer))
    {
        return pProvider->m_strName;
    }
    return strService == "gnudip" ? strServer : urlHost(strServer);
}

} // namespace cfgctl
