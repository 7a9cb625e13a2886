#pragma once

#include "netifwatch/interface.h"

#include <optional>

namespace netifwatch
{

/// The way that the kernel would send something.
struct Route
{
    int m_iInterface = 0;
    bool m_bDefault = false; ///< no route knows the destination itself
};

/// Asks the kernel for the route to an address; with an interface (index, 0 for any), as a socket bound to it would
/// be sent. Nothing where no route leads there, or where the address is this machine's own.
[[nodiscard]] std::optional<Route> lookUpRoute(const IpAddress& a_oAddress, int a_iInterface);

} // namespace netifwatch
