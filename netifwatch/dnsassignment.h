#pragma once

#include "netifwatch/dnsserver.h"
#include "netifwatch/routelookup.h"

#include <functional>

namespace netifwatch
{

/// How the kernel would send to an address, bound to an interface or (0) free.
using RouteFinder = std::function<std::optional<Route>(const IpAddress&, int)>;

/// Which DNS servers belong to which interface. Servers of this machine are left out: a query that is bound to an
/// interface never reaches them. An interface that is down gets none. Otherwise:
///
/// - the servers that the resolver configuration names for the interface itself;
/// - where it names none, those of the whole machine that are reached through this interface: a server that a route
///   of its own leads to belongs to that route's interface; a server that only default routes lead to, which is
///   usually one on the Internet, belongs to every interface with a default route. A link-local server belongs to the
///   interface that is named behind it.
///
/// Calls nothing but the route finder.
[[nodiscard]] ServersByName
assignServers(const Interfaces& a_oInterfaces, const DnsSources& a_oSources, const RouteFinder& a_oFindRoute);

} // namespace netifwatch
