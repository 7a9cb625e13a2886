#pragma once

#include "netifwatch/interface.h"

#include <map>
#include <optional>
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
};

/// Servers of each interface by its name, as texts for the table; an interface that is not named has none.
using ServersByName = std::map<std::string, std::vector<std::string>>;

/// The servers of the "nameserver" lines, in their order, as the C library reads them; lines that name no address are
/// passed over. Pure.
[[nodiscard]] std::vector<DnsServer> parseResolvConf(const std::string& a_strText);

/// The servers of a file; none when it is missing or cannot be read. A file that names only servers of this machine is
/// usually that of systemd-resolved's stub: then the servers that the stub asks are read in its place, where the file
/// with them is there.
[[nodiscard]] std::vector<DnsServer> readResolvConf(const std::string& a_strPath);

/// Where systemd-resolved writes the servers that its stub asks; written anew at every change.
constexpr const char* g_pResolvedFile = "/run/systemd/resolve/resolv.conf";

/// Asks systemd-resolved over the system bus for its DNS servers: those of links, and those it uses for the whole
/// machine. Nothing where it does not run (it is not started), does not answer within two seconds, or this program was
/// built without the bus.
[[nodiscard]] std::optional<DnsSources> askResolved();

} // namespace netifwatch
