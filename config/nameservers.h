#pragma once

#include "korrin/valuelist.h"

#include <string>
#include <vector>

namespace quorvad
{

// Which DNS servers serve an interface. Pure; a row may be empty or lack columns, which then count as switched off.

/// The DNSRelay row lets the user's own servers take part.
[[nodiscard]] bool usesUserServers(const korrin::ValueList& a_oRelay);
/// They take part and replace the interfaces' servers.
[[nodiscard]] bool usesUserServersOnly(const korrin::ValueList& a_oRelay);

/// The servers of the interface's enabled DNSClientServer rows in table order, followed or replaced by the user's two,
/// joined by commas. An empty address of a row gives an empty element only behind another one; the user's two always
/// give two elements. Empty without any of these.
[[nodiscard]] std::string composeNameservers(const korrin::ValueList& a_oRelay,
                                             const std::vector<const korrin::ValueList*>& a_oServers,
                                             const std::string& a_strInterface);

} // namespace quorvad
