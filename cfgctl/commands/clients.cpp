#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/table.h"
#include "cfgctl/timestamp.h"
#include "platform/common/values.h"

#include <pwd.h>

namespace cfgctl
{

namespace
{

/// The user's name, or the number if there is no such user here.
std::string nameUser(const korrin::ValueList& a_oRow)
{
    const int iUser = a_oRow.getValue(dbm::StatusServiceClients_User).getInteger();
    // cppcheck-suppress getpwuidCalled ; only one thread
    const passwd* pUser = getpwuid(static_cast<uid_t>(iUser));
    return pUser == nullptr ? std::to_string(iUser) : pUser->pw_name;
}

Table makeClientsTable(const Rows& a_oRows)
{
    Table oTable{{"Name", "Pid", "User", "Connected", "Running", "Access", "Commits"}, {}};
    for (const korrin::ValueList& oRow : a_oRows)
    {
        const auto span = [&](const char* a_pColumn) { return describeSpan(oRow.getValue(a_pColumn).getInteger()); };
        const bool bReadOnly = isSet(oRow, dbm::StatusServiceClients_ReadOnly);
        oTable.m_oRows.push_back({{textOf(oRow, dbm::Name)},
                                  {textOf(oRow, dbm::StatusServiceClients_Pid), Style::Plain, true},
                                  {textOf(oRow, "UserName")},
                                  {span(dbm::StatusServiceClients_ConnectedSeconds)},
                                  {span(dbm::StatusServiceClients_RunningSeconds)},
                                  {bReadOnly ? "reads" : "reads, writes"},
                                  {textOf(oRow, dbm::StatusServiceClients_Commits), Style::Plain, true}});
    }
    return oTable;
}

} // namespace

std::string runClients(Database& a_oDatabase, const Options& a_oOptions)
{
    Rows oRows = a_oDatabase.getRowsIfAny(dbm::Table_StatusServiceClients);
    require(!oRows.empty(), "The service does not tell who is connected");
    for (korrin::ValueList& oRow : oRows)
    {
        oRow.add("UserName", platform::text(nameUser(oRow)));
    }
    return a_oOptions.m_bJson ? rowsToJson(oRows) : renderTable(makeClientsTable(oRows), a_oOptions.m_oLayout);
}

} // namespace cfgctl
