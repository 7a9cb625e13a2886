#include "netifwatch/machine.h"

#include "netifwatch/dnsassignment.h"
#include "netifwatch/kernelstate.h"
#include "netifwatch/resolvconf.h"
#include "netifwatch/resolved.h"

namespace netifwatch
{

namespace
{

DnsSources readSources(const std::string& a_strResolvConf)
{
    // Where resolved runs and knows no server at all, somebody else looks after resolv.conf.
    DnsSources oSources = askResolved().value_or(DnsSources());
    if (oSources.m_oOfLinks.empty() && oSources.m_oOfMachine.empty())
    {
        oSources.m_oOfMachine = readResolvConf(a_strResolvConf);
    }
    return oSources;
}

} // namespace

MachineState readMachine(const Options& a_oOptions, const InterfaceFilter& a_oFilter)
{
    MachineState oState;
    for (Interface& oInterface : readInterfaces())
    {
        if (a_oFilter.accepts(oInterface.m_strName))
        {
            oState.m_oInterfaces.push_back(std::move(oInterface));
        }
    }
    if (a_oOptions.m_bDns)
    {
        oState.m_oServers = assignServers(oState.m_oInterfaces, readSources(a_oOptions.m_strResolvConf), lookUpRoute);
    }
    return oState;
}

} // namespace netifwatch
