#pragma once

#include "netifwatch/interface.h"

#include <optional>

namespace netifwatch
{

/// Asks the kernel for all interfaces of this network namespace and their addresses. A list that changed while it was
/// read is read again, up to a hundred times: half a list would cost present interfaces their rows. Needs no privilege.
/// Throws std::system_error when the kernel refuses, std::runtime_error when the list never stays the same.
[[nodiscard]] Interfaces readInterfaces();

/// How the kernel would send something.
struct Route
{
    int m_iInterface = 0;
    bool m_bDefault = false; ///< it is a default route
};

/// Asks the kernel for the route to an address; with an interface (index, 0 for any), as a socket bound to it would
/// be sent. Nothing where no route leads there, or where the address is this machine's own.
[[nodiscard]] std::optional<Route> lookUpRoute(const IpAddress& a_oAddress, int a_iInterface);

} // namespace netifwatch
