#include "config/nameservers.h"

#include "config/configobjects.h"
#include "config/schema.h"

namespace quorvad
{

namespace
{

void append(std::string& a_strServers, const std::string& a_strAddress)
{
    if (!a_strServers.empty())
    {
        a_strServers += ",";
    }
    a_strServers += a_strAddress;
}

std::string interfaceServers(const std::vector<const korrin::ValueList*>& a_oServers, const std::string& a_strInterface)
{
    std::string strServers;
    for (const korrin::ValueList* pServer : a_oServers)
    {
        if (unsignedOf(*pServer, dbm::Enable) != 0 && textOf(*pServer, dbm::Interface) == a_strInterface)
        {
            append(strServers, textOf(*pServer, dbm::DNSClientServer_IPAddress));
        }
    }
    return strServers;
}

} // namespace

bool usesUserServers(const korrin::ValueList& a_oRelay)
{
    return integerOf(a_oRelay, dbm::Enable) != 0 && integerOf(a_oRelay, dbm::DNSRelay_EnableUserProvidedDnsServer) != 0;
}

bool usesUserServersOnly(const korrin::ValueList& a_oRelay)
{
    return usesUserServers(a_oRelay) && integerOf(a_oRelay, dbm::DNSRelay_UserProvidedDnsServerMode) != 0;
}

std::string composeNameservers(const korrin::ValueList& a_oRelay,
                               const std::vector<const korrin::ValueList*>& a_oServers,
                               const std::string& a_strInterface)
{
    std::string strServers;
    if (!usesUserServersOnly(a_oRelay))
    {
        strServers = interfaceServers(a_oServers, a_strInterface);
    }
    if (usesUserServers(a_oRelay))
    {
        append(strServers, textOf(a_oRelay, dbm::DNSRelay_PrimaryServerIp));
        strServers += ",";
        strServers += textOf(a_oRelay, dbm::DNSRelay_SecondaryServerIp);
    }
    return strServers;
}

} // namespace quorvad
