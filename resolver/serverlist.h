#pragma once

#include <string>

namespace quorvad
{

/// Whether c-ares, and with it libcurl, accepts a list of DNS servers: addresses, optionally with ports, separated by
/// commas. True as well where c-ares does not start. Reads the machine's resolver settings; sends nothing. c-ares need
/// not be initialized for the process.
[[nodiscard]] bool isUsableServerList(const std::string& a_strNameservers);

} // namespace quorvad
