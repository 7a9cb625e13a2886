#include "cfgctl/account/accountplan.h"
#include "cfgctl/account/password.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "platform/common/values.h"

#include <thread>

namespace cfgctl
{

namespace
{

std::string capitalised(std::string a_strText)
{
    a_strText.front() = static_cast<char>(a_strText.front() - 'a' + 'A');
    return a_strText;
}

korrin::ValueList makeFlag(bool a_bEnable)
{
    korrin::ValueList oRow;
    oRow.add(dbm::Enable, platform::integer(a_bEnable ? 1 : 0));
    return oRow;
}

/// In one transaction; accounts that are so already are left alone, since any write makes the daemon update again.
std::string setEnabled(Database& a_oDatabase, const Options& a_oOptions, bool a_bEnable)
{
    const Rows oRows = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    std::string strText;
    for (const korrin::ValueList& oRow : oRows)
    {
        const bool bChanged = (oRow.getValue(dbm::Enable).getInteger() != 0) != a_bEnable;
        if (bChanged)
        {
            a_oDatabase.updateRow(dbm::Table_DynDns, oRow.getValue(dbm::Id).getText(), makeFlag(a_bEnable));
        }
        strText += capitalised(nameAccount(oRow)) + (bChanged ? " is now " : " was already ") +
                   (a_bEnable ? "enabled.\n" : "disabled.\n");
    }
    a_oDatabase.commit();
    return a_oOptions.m_bJson ? std::string() : strText;
}

void deleteRowsOf(Database& a_oDatabase, const std::string& a_strTable, const std::string& a_strAccount)
{
    for (const korrin::ValueList& oRow : a_oDatabase.getRows(a_strTable))
    {
        if (oRow.getValue(dbm::DynDnsLog_DynDnsId).getText() == a_strAccount)
        {
            a_oDatabase.deleteRow(a_strTable, oRow.getValue(dbm::Id).getText());
        }
    }
}

bool anyEnabled(const Rows& a_oRows)
{
    for (const korrin::ValueList& oRow : a_oRows)
    {
        if (oRow.getValue(dbm::Enable).getInteger() != 0)
        {
            return true;
        }
    }
    return false;
}

} // namespace

std::string runAccountEnable(Database& a_oDatabase, const Options& a_oOptions)
{
    return setEnabled(a_oDatabase, a_oOptions, true);
}

std::string runAccountDisable(Database& a_oDatabase, const Options& a_oOptions)
{
    return setEnabled(a_oDatabase, a_oOptions, false);
}

// The daemon goes on updating an account whose row disappears as it last saw it. So it is shown a disabled one first.
std::string runAccountRemove(Database& a_oDatabase, const Options& a_oOptions)
{
    const Rows oRows = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds);
    std::string strNames;
    for (const korrin::ValueList& oRow : oRows)
    {
        strNames += (strNames.empty() ? "" : ", ") + nameAccount(oRow);
    }
    if (!a_oOptions.m_oAccount.m_bYes && !confirm("Remove " + strNames + "?", "--yes"))
    {
        throw Failure("Nothing was removed");
    }
    if (anyEnabled(oRows))
    {
        static_cast<void>(setEnabled(a_oDatabase, a_oOptions, false));
        std::this_thread::sleep_for(a_oOptions.m_oAccount.m_oSettle);
    }
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    for (const korrin::ValueList& oRow : oRows)
    {
        const std::string& strId = oRow.getValue(dbm::Id).getText();
        deleteRowsOf(a_oDatabase, dbm::Table_DynDnsStatus, strId);
        deleteRowsOf(a_oDatabase, dbm::Table_DynDnsLog, strId);
        a_oDatabase.deleteRow(dbm::Table_DynDns, strId);
    }
    a_oDatabase.commit();
    return a_oOptions.m_bJson ? std::string() : "Removed " + strNames + ", with its outcomes.\n";
}

std::string runAccountPassword(Database& a_oDatabase, const Options& a_oOptions)
{
    const AccountOptions& oAccount = a_oOptions.m_oAccount;
    const korrin::ValueList oRow = readAccounts(a_oDatabase, oAccount.m_oIds).front();
    const Providers oProviders = readProviders(oAccount.m_strProviders);
    const AccountPlan oPlan = planOfRow(oRow, recogniseProvider(oProviders, oRow));
    if (!oPlan.m_bPasswordInUrl && !oPlan.m_bPasswordInHeader)
    {
        throw Failure(capitalised(nameAccount(oRow)) +
                      " sends no password: there is neither a user name nor <password> in its URL");
    }
    std::vector<std::string> oNotes;
    const std::string strTyped =
        readPassword(oAccount.m_strPasswordFile, "New password of " + nameAccount(oRow) + ": ");
    korrin::ValueList oChange;
    oChange.add(dbm::DynDns_Password, platform::text(preparePassword(oPlan, strTyped, oNotes)));
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.updateRow(dbm::Table_DynDns, oRow.getValue(dbm::Id).getText(), oChange);
    a_oDatabase.commit();
    std::string strText = "The password of " + nameAccount(oRow) + " was changed.\n";
    for (const std::string& strNote : oNotes)
    {
        strText += strNote + "\n";
    }
    return a_oOptions.m_bJson ? std::string() : strText;
}

} // namespace cfgctl
