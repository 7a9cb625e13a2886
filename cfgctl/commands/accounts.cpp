#include "cfgctl/commands/accounts.h"

#include "cfgctl/account/accountplan.h"
#include "cfgctl/account/next.h"
#include "cfgctl/account/password.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/resend.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <ctime>
#include <thread>

namespace cfgctl
{

namespace
{

/// The provider's name if it is known, else its server.
std::string nameProvider(const Providers& a_oProviders, const korrin::ValueList& a_oRow)
{
    if (const Provider* pProvider = recogniseProvider(a_oProviders, a_oRow))
    {
        return pProvider->m_strName;
    }
    const std::string strServer = textOf(a_oRow, dbm::DynDns_ServerAddr);
    return isGnudip(a_oRow) ? strServer : urlHost(strServer);
}

std::string capitalised(std::string a_strText)
{
    a_strText.front() = static_cast<char>(a_strText.front() - 'a' + 'A');
    return a_strText;
}

/// In one transaction. Skips accounts already in that state, since any write makes the daemon update again. Returns the
/// Ids of the others.
std::vector<std::string>
writeEnabled(Database& a_oDatabase, const Options& a_oOptions, const Rows& a_oRows, bool a_bEnable)
{
    const korrin::ValueList oChange = platform::row({{dbm::Enable, platform::integer(a_bEnable ? 1 : 0)}});
    std::vector<std::string> oChanged;
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    for (const korrin::ValueList& oRow : a_oRows)
    {
        if (isSet(oRow, dbm::Enable) != a_bEnable)
        {
            oChanged.push_back(textOf(oRow, dbm::Id));
            a_oDatabase.updateRow(dbm::Table_DynDns, oChanged.back(), oChange);
        }
    }
    a_oDatabase.commit();
    return oChanged;
}

void setEnabled(Database& a_oDatabase, const Options& a_oOptions, bool a_bEnable)
{
    const Rows oRows = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds);
    const std::vector<std::string> oChanged = writeEnabled(a_oDatabase, a_oOptions, oRows, a_bEnable);
    std::string strText;
    for (const korrin::ValueList& oRow : oRows)
    {
        strText += capitalised(showAccount(oRow)) +
                   (isSet(oRow, dbm::Enable) != a_bEnable ? " is now " : " was already ") +
                   (a_bEnable ? "enabled.\n" : "disabled.\n");
    }
    writeChange(a_oDatabase, a_oOptions, oChanged, strText);
}

void deleteRowsOf(Database& a_oDatabase, const std::string& a_strTable, const std::string& a_strAccount)
{
    for (const korrin::ValueList& oRow : a_oDatabase.getRows(a_strTable))
    {
        if (textOf(oRow, dbm::DynDnsLog_DynDnsId) == a_strAccount)
        {
            a_oDatabase.deleteRow(a_strTable, textOf(oRow, dbm::Id));
        }
    }
}

} // namespace

Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds)
{
    const Rows oAll = a_oDatabase.getRows(dbm::Table_DynDns);
    Rows oRows;
    for (const int iId : a_oIds)
    {
        const korrin::ValueList& oRow = findLast(oAll, dbm::Id, std::to_string(iId));
        require(!oRow.empty(), "No account " + std::to_string(iId) + "; 'cfgctl account list' shows all");
        oRows.push_back(oRow);
    }
    return oRows;
}

korrin::ValueList findAccount(Database& a_oDatabase, const std::string& a_strIdOrHost)
{
    const bool bId = a_strIdOrHost.find_first_not_of("0123456789") == std::string::npos;
    Rows oRows = a_oDatabase.getRows(dbm::Table_DynDns);
    oRows.remove_if([&](const korrin::ValueList& a_oRow)
                    { return textOf(a_oRow, bId ? dbm::Id : dbm::DynDns_Hostname) != a_strIdOrHost; });
    require(!oRows.empty(), "No account " + a_strIdOrHost + "; 'cfgctl account list' shows all");
    require(oRows.size() == 1, "More than one account has the host " + a_strIdOrHost + ": give the Id instead");
    return oRows.front();
}

void warnAbout(const std::vector<std::string>& a_oWarnings,
               const korrin::ValueList& a_oRow,
               const StatusSources& a_oSources)
{
    std::for_each(a_oWarnings.begin(), a_oWarnings.end(), warn);
    for (const Problem& oProblem : findProblems(a_oRow, a_oSources))
    {
        if (oProblem.m_strCode != g_pDisabledCode)
        {
            warn(tellProblem(oProblem));
        }
    }
}

std::string tellNextOf(const korrin::ValueList& a_oRow, const StatusSources& a_oSources)
{
    const std::time_t iNow = std::time(nullptr);
    return tellNext(findNext(a_oRow, a_oSources, findProblems(a_oRow, a_oSources), iNow)) + "\n";
}

bool isSameName(const korrin::ValueList& a_oRow, const korrin::ValueList& a_oOther)
{
    return a_oRow.getValue(dbm::DynDns_Hostname) == a_oOther.getValue(dbm::DynDns_Hostname) &&
           a_oRow.getValue(dbm::DynDns_ServiceType) == a_oOther.getValue(dbm::DynDns_ServiceType) &&
           urlHost(textOf(a_oRow, dbm::DynDns_ServerAddr)) == urlHost(textOf(a_oOther, dbm::DynDns_ServerAddr));
}

std::string describeDoubt(const Provider& a_oProvider)
{
    return "The settings for " + a_oProvider.m_strName + " are in doubt (" + a_oProvider.m_strDoubt +
           "): check the first answers with 'cfgctl log'";
}

std::string joinLines(const std::vector<std::string>& a_oLines, const Layout& a_oLayout)
{
    return join(
        a_oLines, "", [&](const std::string& a_strLine) { return wrapWords(a_strLine, a_oLayout.m_uiWidth) + "\n"; });
}

std::string nameAccount(const korrin::ValueList& a_oRow)
{
    return "account " + textOf(a_oRow, dbm::Id) + " (" + textOf(a_oRow, dbm::DynDns_Hostname) + ")";
}

std::string showAccount(const korrin::ValueList& a_oRow)
{
    return platform::escape(nameAccount(a_oRow));
}

void writeChange(Database& a_oDatabase,
                 const Options& a_oOptions,
                 const std::vector<std::string>& a_oChanged,
                 const std::string& a_strText,
                 const std::string& a_strJson)
{
    std::string strResend;
    if (!a_oChanged.empty())
    {
        const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
        strResend = describeResend(readSources(a_oDatabase), oProviders, a_oChanged);
    }
    writeOut(a_oOptions.m_bJson ? a_strJson : a_strText);
    if (!strResend.empty())
    {
        a_oOptions.m_bJson ? warn(strResend) : writeOut(joinLines({strResend}, a_oOptions.m_oLayout));
    }
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

std::string runAccountList(Database& a_oDatabase, const Options& a_oOptions)
{
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    Rows oRows = a_oDatabase.getRows(dbm::Table_DynDns);
    Table oTable{{"Id", "Hostname", "Provider", "Interface", "User", "Tries", "Enabled"}, {}};
    for (korrin::ValueList& oRow : oRows)
    {
        const std::string strProvider = nameProvider(oProviders, oRow);
        const bool bEnabled = isSet(oRow, dbm::Enable);
        const std::string strUser = textOf(oRow, dbm::DynDns_AccountUserName);
        oTable.m_oRows.push_back({{textOf(oRow, dbm::Id), Style::Plain, true},
                                  {textOf(oRow, dbm::DynDns_Hostname)},
                                  {strProvider},
                                  {textOf(oRow, dbm::Interface)},
                                  {strUser.empty() ? "(none)" : strUser, strUser.empty() ? Style::Faint : Style::Plain},
                                  {textOf(oRow, dbm::DynDns_Retry), Style::Plain, true},
                                  {bEnabled ? "yes" : "no", bEnabled ? Style::Plain : Style::Faint}});
        oRow.add("Provider", platform::text(strProvider));
    }
    if (!a_oOptions.m_bShowSecrets)
    {
        hideSecrets(dbm::Table_DynDns, oRows);
    }
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows);
    }
    if (oRows.empty())
    {
        complain(g_acNoAccounts);
    }
    return renderTable(oTable, a_oOptions.m_oLayout);
}

std::string runAccountEnable(Database& a_oDatabase, const Options& a_oOptions)
{
    setEnabled(a_oDatabase, a_oOptions, true);
    return {};
}

std::string runAccountDisable(Database& a_oDatabase, const Options& a_oOptions)
{
    setEnabled(a_oDatabase, a_oOptions, false);
    return {};
}

// The daemon goes on updating an account that disappears while enabled, so the account is disabled first.
std::string runAccountRemove(Database& a_oDatabase, const Options& a_oOptions)
{
    const Rows oRows = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds);
    const std::string strNames = join(oRows, ", ", showAccount);
    require(a_oOptions.m_oAccount.m_bYes || confirm("Remove " + strNames + "?", "--yes"), "Nothing was removed");
    if (std::any_of(oRows.begin(), oRows.end(), [](const auto& a_oRow) { return isSet(a_oRow, dbm::Enable); }))
    {
        static_cast<void>(writeEnabled(a_oDatabase, a_oOptions, oRows, false));
        std::this_thread::sleep_for(a_oOptions.m_oAccount.m_oSettle);
    }
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    for (const korrin::ValueList& oRow : oRows)
    {
        const std::string strId = textOf(oRow, dbm::Id);
        deleteRowsOf(a_oDatabase, dbm::Table_DynDnsStatus, strId);
        deleteRowsOf(a_oDatabase, dbm::Table_DynDnsLog, strId);
        a_oDatabase.deleteRow(dbm::Table_DynDns, strId);
    }
    a_oDatabase.commit();
    std::vector<std::string> oIds;
    for (const korrin::ValueList& oRow : oRows)
    {
        oIds.push_back(textOf(oRow, dbm::Id));
    }
    writeChange(a_oDatabase, a_oOptions, oIds, "Removed " + strNames + ", with its outcomes.\n");
    return {};
}

std::string runAccountPassword(Database& a_oDatabase, const Options& a_oOptions)
{
    const AccountOptions& oAccount = a_oOptions.m_oAccount;
    const korrin::ValueList oRow = readAccounts(a_oDatabase, oAccount.m_oIds).front();
    const Providers oProviders = readProviders(oAccount.m_strProviders);
    AccountPlan oPlan = planOfRow(oRow, recogniseProvider(oProviders, oRow));
    require(oPlan.m_bPasswordInUrl || oPlan.m_bPasswordInHeader,
            capitalised(nameAccount(oRow)) +
                " sends no password: there is neither a user name nor <password> in its URL");
    const std::string strTyped =
        readPassword(oAccount.m_strPasswordFile, "New password of " + showAccount(oRow) + ": ");
    const korrin::Value oPassword = platform::text(preparePassword(oPlan, strTyped));
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    a_oDatabase.updateRow(dbm::Table_DynDns, textOf(oRow, dbm::Id), platform::row({{dbm::DynDns_Password, oPassword}}));
    a_oDatabase.commit();
    const std::string strText =
        "The password of " + showAccount(oRow) + " was changed.\n" + joinLines(oPlan.m_oNotes, a_oOptions.m_oLayout);
    writeChange(a_oDatabase, a_oOptions, {textOf(oRow, dbm::Id)}, strText);
    return {};
}

} // namespace cfgctl
