#pragma once

#include "netifwatch/dnsserver.h"

#include <string>
#include <string_view>
#include <vector>

namespace netifwatch
{

/// The servers of the "nameserver" lines, in their order, as the C library reads them; lines that name no address are
/// passed over. Pure.
[[nodiscard]] std::vector<DnsServer> parseResolvConf(std::string_view a_strText);

/// The servers of a file; none when it is missing or can't be read. A file that names only servers of this machine is
/// usually that of systemd-resolved's stub: then the servers that the stub asks are read in its place, where the file
/// with them is there.
[[nodiscard]] std::vector<DnsServer> readResolvConf(const std::string& a_strPath);

/// Where systemd-resolved writes the servers that its stub asks; written anew at every change.
constexpr const char* g_pResolvedFile = "/run/systemd/resolve/resolv.conf";

} // namespace netifwatch
