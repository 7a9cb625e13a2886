#include "cfgctl/arguments.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "platform/common/process.h"
#include "platform/common/reason.h"

#include <csignal>

namespace
{

void run(int a_iCount, const char* const* a_ppArguments)
{
    cfgctl::Request oRequest = cfgctl::parseArguments(a_iCount, a_ppArguments);
    if (!oRequest.m_strText.empty())
    {
        cfgctl::writeOut(oRequest.m_strText);
        return;
    }
    cfgctl::Options& oOptions = oRequest.m_oOptions;
    oOptions.m_oLayout = cfgctl::layoutOfStandardOutput();
    if (const auto* pLong = std::get_if<cfgctl::LongCommand*>(&oRequest.m_oCommand))
    {
        (*pLong)(oOptions);
        return;
    }
    cfgctl::readValues(oOptions.m_oKey); // before connecting: standard input may be slow
    cfgctl::readValues(oOptions.m_oValues);
    cfgctl::Session oSession(oOptions.m_strSocket);
    cfgctl::Database oDatabase(oSession.getClient());
    cfgctl::writeOut(std::get<cfgctl::Command*>(oRequest.m_oCommand)(oDatabase, oOptions));
}

} // namespace

int main(int a_iCount, char** a_ppArguments)
{
    platform::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_DFL); // 'cfgctl export | head' ends silently even if SIGPIPE was ignored
    try
    {
        run(a_iCount, a_ppArguments);
        return 0;
    }
    catch (const cfgctl::Exit& oExit)
    {
        return oExit.m_iStatus;
    }
    catch (const cfgctl::UsageError& oError)
    {
        cfgctl::complain(oError.what());
        return 2;
    }
    catch (const std::exception& oError)
    {
        cfgctl::complain(platform::reasonOf(oError));
        return 1;
    }
}
