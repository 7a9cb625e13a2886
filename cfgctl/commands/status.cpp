#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/monitoring.h"
#include "cfgctl/statusrows.h"

#include <ctime>

namespace cfgctl
{

namespace
{

StatusSources connectAndRead(const Options& a_oOptions)
{
    Session oSession(a_oOptions.m_strSocket);
    Database oDatabase(oSession.getClient());
    return readSources(oDatabase);
}

void printStatus(const Options& a_oOptions)
{
    const std::vector<AccountState> oStates = makeStates(connectAndRead(a_oOptions), std::time(nullptr));
    if (a_oOptions.m_bJson)
    {
        return writeOut(statesToJson(oStates));
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
}

Health checkHealth(const Options& a_oOptions)
{
    try
    {
        const StatusSources oSources = connectAndRead(a_oOptions);
        const std::time_t iNow = std::time(nullptr);
        return judgeHealth(makeStates(oSources, iNow), oSources, a_oOptions.m_oMaxAgeSec, iNow);
    }
    catch (const Failure& oError)
    {
        return judgeWithoutService(oError.what());
    }
}

std::string collectMetrics(const Options& a_oOptions)
{
    try
    {
        const StatusSources oSources = connectAndRead(a_oOptions);
        return makeMetrics(makeStates(oSources, std::time(nullptr)), oSources);
    }
    catch (const Failure& oError)
    {
        complain(oError.what());
        return makeMetricsWithoutService();
    }
}

} // namespace

void runStatus(const Options& a_oOptions)
{
    if (a_oOptions.m_bMetrics)
    {
        return writeOut(collectMetrics(a_oOptions));
    }
    if (!a_oOptions.m_bCheck)
    {
        return printStatus(a_oOptions);
    }
    const Health oHealth = checkHealth(a_oOptions);
    writeOut(oHealth.m_strText + "\n");
    throw Exit{static_cast<int>(oHealth.m_eHealth)};
}

} // namespace cfgctl
