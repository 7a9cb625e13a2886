#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/outcomerows.h"

#include <ctime>

namespace cfgctl
{

std::string runStatus(Database& a_oDatabase, const Options& a_oOptions)
{
    const Rows oRows = makeStatusRows(readSources(a_oDatabase), std::time(nullptr));
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows);
    }
    if (oRows.empty())
    {
        complain(g_acNoAccounts);
    }
    return renderTable(makeStatusTable(oRows), a_oOptions.m_oLayout);
}

} // namespace cfgctl
