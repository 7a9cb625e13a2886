#pragma once

#include "netifwatch/interface.h"

#include <map>
#include <string>
#include <vector>

namespace netifwatch
{

/// A DNS server as the machine's resolver configuration names it.
struct DnsServer
{
    IpAddress m_oAddress;
    std::string m_strZone; ///< interface (name or number) behind a '%', empty where there was none

    bool operator==(const DnsServer& a_oOther) const
    {
        return m_oAddress == a_oOther.m_oAddress && m_strZone == a_oOther.m_strZone;
    }
};

/// Where the machine keeps its DNS servers.
struct DnsSources
{
    std::map<int, std::vector<IpAddress>> m_oOfLinks; ///< by interface index, in the order of preference
    std::vector<DnsServer> m_oOfMachine;              ///< for whatever way leads there

    bool operator==(const DnsSources& a_oOther) const
    {
        return m_oOfLinks == a_oOther.m_oOfLinks && m_oOfMachine == a_oOther.m_oOfMachine;
    }
};

/// Servers of each interface by its name, as texts for the table; an interface that isn't named has none.
using ServersByName = std::map<std::string, std::vector<std::string>>;

} // namespace netifwatch
