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
    std::vector<std::string> m_oProblems = {};        ///< what could not be read: sentences for the log
};

/// Servers by the interface's name, as texts for the table.
using ServersByName = std::map<std::string, std::vector<std::string>>;

/// The servers of the "nameserver" lines, in their order, as the C library reads them; lines without an address are
/// skipped. Pure.
[[nodiscard]] std::vector<DnsServer> parseResolvConf(const std::string& a_strText);

/// Where systemd-resolved writes the servers behind its stub; replaced at every change.
constexpr const char* g_pResolvedFile = "/run/systemd/resolve/resolv.conf";

/// The servers of a file; none if it does not exist. A file with only servers of this machine usually names
/// systemd-resolved's stub: then the servers behind the stub are read instead, if their file exists.
/// @param a_oProblems takes a sentence for each file that exists and cannot be read
[[nodiscard]] std::vector<DnsServer> readResolvConf(const std::string& a_strPath,
                                                    std::vector<std::string>& a_oProblems,
                                                    const std::string& a_strBehindStub = g_pResolvedFile);

/// Asks systemd-resolved over the system bus for its DNS servers: those of links, and those it uses for the whole
/// machine. Nothing if it does not run (it is not started), does not answer within two seconds, or this program was
/// built without the bus. A problem, and no servers, if the library for it cannot be loaded.
[[nodiscard]] std::optional<DnsSources> askResolved();

} // namespace netifwatch
