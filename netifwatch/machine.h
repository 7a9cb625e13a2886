#pragma once

#include "netifwatch/dnssources.h"
#include "netifwatch/interface.h"
#include "netifwatch/kernelstate.h"
#include "netifwatch/options.h"

#include <functional>
#include <optional>

namespace netifwatch
{

/// What the tables should hold.
struct MachineState
{
    Interfaces m_oInterfaces;
    std::optional<ServersByName> m_oServers;   ///< nothing: DNSClientServer is left alone
    std::vector<std::string> m_oProblems = {}; ///< what could not be read: sentences for the log

    /// Whether the tables should hold the same.
    bool operator==(const MachineState& a_oOther) const
    {
        return m_oInterfaces == a_oOther.m_oInterfaces && m_oServers == a_oOther.m_oServers;
    }
};

/// How the kernel would send to an address, bound to an interface or (0) free.
using RouteFinder = std::function<std::optional<Route>(const IpAddress&, int)>;

/// Which DNS servers belong to which interface. Servers of this machine are left out: a query bound to an interface
/// never reaches them. An interface that is down gets none. Otherwise:
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

/// The state of this moment, of the interfaces that are watched. Asks the kernel, the system bus and resolv.conf; may
/// block for the bus's two seconds. Throws std::system_error when the kernel refuses.
[[nodiscard]] MachineState readMachine(const Options& a_oOptions);

} // namespace netifwatch
