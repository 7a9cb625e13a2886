#include "netifwatch/machine.h"

#include <algorithm>
#include <sys/socket.h>

namespace netifwatch
{

namespace
{

void append(std::vector<std::string>& a_oServers, const IpAddress& a_oAddress)
{
    const std::string strText = toText(a_oAddress);
    if (!isOfThisMachine(a_oAddress) && std::find(a_oServers.begin(), a_oServers.end(), strText) == a_oServers.end())
    {
        a_oServers.push_back(strText);
    }
}

bool isReachedThrough(const Interface& a_oInterface, const DnsServer& a_oServer, const RouteFinder& a_oFindRoute)
{
    if (isLinkLocal(a_oServer.m_oAddress) && a_oServer.m_oAddress.m_iFamily == AF_INET6)
    {
        return a_oServer.m_strZone == a_oInterface.m_strName ||
               a_oServer.m_strZone == std::to_string(a_oInterface.m_iIndex);
    }
    const std::optional<Route> oFree = a_oFindRoute(a_oServer.m_oAddress, 0);
    if (!oFree || !oFree->m_bDefault)
    {
        return oFree && oFree->m_iInterface == a_oInterface.m_iIndex;
    }
    const std::optional<Route> oBound = a_oFindRoute(a_oServer.m_oAddress, a_oInterface.m_iIndex);
    return oBound && oBound->m_bDefault;
}

std::vector<std::string>
serversOf(const Interface& a_oInterface, const DnsSources& a_oSources, const RouteFinder& a_oFindRoute)
{
    std::vector<std::string> oServers;
    const auto it = a_oSources.m_oOfLinks.find(a_oInterface.m_iIndex);
    if (it != a_oSources.m_oOfLinks.end())
    {
        for (const IpAddress& oAddress : it->second)
        {
            append(oServers, oAddress);
        }
    }
    if (!oServers.empty())
    {
        return oServers;
    }
    for (const DnsServer& oServer : a_oSources.m_oOfMachine)
    {
        if (!isOfThisMachine(oServer.m_oAddress) && isReachedThrough(a_oInterface, oServer, a_oFindRoute))
        {
            append(oServers, oServer.m_oAddress);
        }
    }
    return oServers;
}

DnsSources readSources(const std::string& a_strResolvConf)
{
    // If resolved runs but knows no server, somebody else maintains resolv.conf.
    DnsSources oSources = askResolved().value_or(DnsSources());
    if (oSources.m_oOfLinks.empty() && oSources.m_oOfMachine.empty())
    {
        oSources.m_oOfMachine = readResolvConf(a_strResolvConf, oSources.m_oProblems);
    }
    return oSources;
}

} // namespace

ServersByName
assignServers(const Interfaces& a_oInterfaces, const DnsSources& a_oSources, const RouteFinder& a_oFindRoute)
{
    ServersByName oServers;
    for (const Interface& oInterface : a_oInterfaces)
    {
        if (oInterface.m_bUp)
        {
            const std::vector<std::string> oFound = serversOf(oInterface, a_oSources, a_oFindRoute);
            if (!oFound.empty())
            {
                oServers[oInterface.m_strName] = oFound;
            }
        }
    }
    return oServers;
}

MachineState readMachine(const Options& a_oOptions)
{
    MachineState oState;
    for (Interface& oInterface : readInterfaces())
    {
        if (a_oOptions.m_oInterfaces.accepts(oInterface.m_strName))
        {
            oState.m_oInterfaces.push_back(std::move(oInterface));
        }
    }
    if (a_oOptions.m_bDns)
    {
        const DnsSources oSources = readSources(a_oOptions.m_strResolvConf);
        oState.m_oServers = assignServers(oState.m_oInterfaces, oSources, lookUpRoute);
        oState.m_oProblems = oSources.m_oProblems;
    }
    return oState;
}

} // namespace netifwatch
