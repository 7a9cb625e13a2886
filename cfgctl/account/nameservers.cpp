#include "cfgctl/account/nameservers.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace cfgctl
{

namespace
{

bool isSet(const korrin::ValueList& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getInteger() != 0;
}

bool isAddress(const std::string& a_strText)
{
    std::array<unsigned char, sizeof(in6_addr)> oAddress{};
    return inet_pton(AF_INET, a_strText.c_str(), oAddress.data()) == 1 ||
           inet_pton(AF_INET6, a_strText.c_str(), oAddress.data()) == 1;
}

} // namespace

std::vector<std::string>
chooseNameservers(const std::string& a_strInterface, const Rows& a_oRelay, const Rows& a_oServers)
{
    const korrin::ValueList oRelay = a_oRelay.empty() ? korrin::ValueList() : a_oRelay.front();
    const bool bUserServers = isSet(oRelay, "Enable") && isSet(oRelay, "EnableUserProvidedDnsServer");
    std::vector<std::string> oServers;
    if (!bUserServers || !isSet(oRelay, "UserProvidedDnsServerMode"))
    {
        for (const korrin::ValueList& oRow : a_oServers)
        {
            if (isSet(oRow, "Enable") && oRow.getValue("Interface").getText() == a_strInterface)
            {
                oServers.push_back(oRow.getValue("IPAddress").getText());
            }
        }
    }
    if (bUserServers)
    {
        oServers.push_back(oRelay.getValue("PrimaryServerIp").getText());
        oServers.push_back(oRelay.getValue("SecondaryServerIp").getText());
    }
    return oServers;
}

std::string findNameserverFault(const std::vector<std::string>& a_oServers)
{
    if (a_oServers.empty() || (a_oServers.size() == 1 && a_oServers.front().empty()))
    {
        return "there is no DNS server";
    }
    for (auto it = a_oServers.begin(); it != a_oServers.end(); ++it)
    {
        const bool bLast = std::next(it) == a_oServers.end();
        if (it->empty() && !(bLast && a_oServers.size() > 1))
        {
            return "the list of DNS servers has an empty address in it";
        }
        if (!it->empty() && !isAddress(*it))
        {
            return "the DNS server '" + *it + "' is no plain address";
        }
    }
    return {};
}

} // namespace cfgctl
