#pragma once

#include <string>

namespace quorvad
{

/// Whether c-ares, and with it libcurl, takes a list of DNS servers: addresses, each with a port if wanted, separated
/// by commas. Reads the machine's resolver settings; sends nothing. The process-wide start-up of c-ares need not be
/// done.
[[nodiscard]] bool isUsableServerList(const std::string& a_strNameservers);

} // namespace quorvad
