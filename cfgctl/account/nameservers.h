#pragma once

#include "cfgctl/tablejson.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// The DNS servers of an update through an interface, in the daemon's order and by its rules: those of the enabled
/// DNSClientServer rows of the interface in table order; DNSRelay's two behind them, or instead of them, where the
/// relay and user-provided servers are switched on. Elements may be empty, as the columns are. Pure.
[[nodiscard]] std::vector<std::string>
chooseNameservers(const std::string& a_strInterface, const Rows& a_oRelay, const Rows& a_oServers);

/// Why the daemon could not use the list as it is; empty when it can. An empty last element does no harm. Pure.
[[nodiscard]] std::string findNameserverFault(const std::vector<std::string>& a_oServers);

} // namespace cfgctl
