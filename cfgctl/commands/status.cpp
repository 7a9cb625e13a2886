#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/statusrows.h"

#include <ctime>

namespace cfgctl
{

std::string runStatus(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::vector<AccountState> oStates = makeStates(readSources(a_oDatabase), std::time(nullptr));
    if (a_oOptions.m_bJson)
    {
        return statesToJson(oStates);
    }
    writeOut(renderTable(makeStatusTable(oStates), a_oOptions.m_oLayout));
    if (oStates.empty())
    {
        complain(g_acNoAccounts);
    }
    for (const std::string& strWarning : findWarnings(oStates))
    {
        warn(strWarning);
    }
    return {};
}

} // namespace cfgctl
