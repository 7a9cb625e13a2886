#include "cfgctl/account/password.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "platform/common/values.h"

namespace cfgctl
{

namespace
{

/// Fails if a file is invalid: the intended entry may be in it.
Provider chooseProvider(const AccountOptions& a_oOptions)
{
    if (!a_oOptions.m_strUrl.empty())
    {
        return makeOwnProvider(a_oOptions.m_strUrl, !a_oOptions.m_oSpec.m_strUser.empty());
    }
    if (!a_oOptions.m_strServer.empty())
    {
        return makeGnudipProvider(a_oOptions.m_strServer);
    }
    const ProviderList oList = loadProviders(a_oOptions.m_strProviders);
    if (!oList.m_oComplaints.empty())
    {
        throw Failure(oList.m_oComplaints.front());
    }
    const Provider* pProvider = findProvider(oList.m_oProviders, a_oOptions.m_strProvider);
    require(pProvider != nullptr,
            "Unknown provider '" + a_oOptions.m_strProvider +
                "'; 'cfgctl providers' lists them. For another one, use --url with its update URL, or --server with "
                "its GnuDIP server");
    requireServed(*pProvider);
    return *pProvider;
}

std::vector<std::string>
findWarnings(const Provider& a_oProvider, const korrin::ValueList& a_oRow, const StatusSources& a_oSources)
{
    std::vector<std::string> oWarnings;
    if (!a_oProvider.m_bSure)
    {
        oWarnings.push_back(describeDoubt(a_oProvider));
    }
    for (const korrin::ValueList& oOther : a_oSources.m_oAccounts)
    {
        if (isSameName(oOther, a_oRow))
        {
            oWarnings.push_back("The host already has " + nameAccount(oOther) +
                                " at this provider: the two will overwrite each other's address");
        }
    }
    return oWarnings;
}

/// The row that would be written, with nothing secret unless that is wanted.
std::string showPlan(const AccountPlan& a_oPlan, const Options& a_oOptions)
{
    korrin::ValueList oRow = a_oPlan.m_oRow;
    if (!a_oOptions.m_bShowSecrets && a_oPlan.m_oRow.hasValue(dbm::DynDns_Password))
    {
        oRow.remove(dbm::DynDns_Password);
        oRow.add(dbm::DynDns_Password, platform::text(std::string(g_strHidden)));
    }
    if (a_oOptions.m_bJson)
    {
        return rowToJson(oRow);
    }
    Table oTable{{"Column", "Value"}, {}};
    for (const auto& [strColumn, oValue] : oRow)
    {
        oTable.m_oRows.push_back({{strColumn}, {oValue.getText()}});
    }
    return renderTable(oTable, {}) + "Nothing was written.\n" + joinLines(a_oPlan.m_oNotes, a_oOptions.m_oLayout);
}

void addPassword(AccountPlan& a_oPlan, const Provider& a_oProvider, const AccountOptions& a_oOptions)
{
    const std::string strQuestion =
        a_oOptions.m_oSpec.m_strHost + " at " + a_oProvider.m_strName + ", " + a_oPlan.m_strPasswordHint + ": ";
    const std::string strPassword = readPassword(a_oOptions.m_strPasswordFile, strQuestion);
    a_oPlan.m_oRow.add(dbm::DynDns_Password, platform::text(preparePassword(a_oPlan, strPassword)));
}

} // namespace

std::string runAccountAdd(Database& a_oDatabase, const Options& a_oOptions)
{
    const AccountOptions& oAccount = a_oOptions.m_oAccount;
    const Provider oProvider = chooseProvider(oAccount);
    AccountPlan oPlan = planAccount(oProvider, oAccount.m_oSpec);
    fitToColumns(a_oDatabase.getColumns(dbm::Table_DynDns), oPlan);
    const bool bDryWithout = oAccount.m_bDryRun && oAccount.m_strPasswordFile.empty();
    if (!oPlan.m_strPasswordHint.empty() && !bDryWithout)
    {
        addPassword(oPlan, oProvider, oAccount);
    }
    const StatusSources oSources = readSources(a_oDatabase);
    const korrin::Value oId = oAccount.m_bDryRun
                                  ? korrin::Value(korrin::eValueNull, 0)
                                  : a_oDatabase.addRow(dbm::Table_DynDns, oPlan.m_oRow, a_oOptions.m_oAccessTimeout);
    korrin::ValueList oRow = oPlan.m_oRow;
    oRow.add(dbm::Id, oId);
    if (bDryWithout)
    {
        oRow.add(dbm::DynDns_Password, platform::text(std::string(g_strHidden))); // stands for the real one
    }
    const std::vector<std::string> oWarnings = findWarnings(oProvider, oRow, oSources);
    if (oAccount.m_bDryRun)
    {
        writeOut(showPlan(oPlan, a_oOptions));
        warnAbout(oWarnings, oRow, oSources);
        return {};
    }
    const StatusSources oAfter = readSources(a_oDatabase);
    const std::string strText = "Added " + showAccount(oRow) + " at " + oProvider.m_strName + ", through " +
                                oAccount.m_oSpec.m_strInterface + ".\n" +
                                joinLines(oPlan.m_oNotes, a_oOptions.m_oLayout) + tellNextOf(oRow, oAfter);
    const std::string strJson = rowToJson(platform::row({{dbm::Id, oId}}));
    writeChange(a_oDatabase, a_oOptions, {textOf(oRow, dbm::Id)}, strText, strJson);
    warnAbout(oWarnings, oRow, oAfter);
    return {};
}

} // namespace cfgctl
