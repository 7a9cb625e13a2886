#pragma once

#include "netifwatch/dnsserver.h"

#include <optional>

namespace netifwatch
{

/// Asks systemd-resolved over the system bus for its DNS servers: those of links, and those it uses for the whole
/// machine. Nothing where it doesn't run (it isn't started), doesn't answer within two seconds, or this program was
/// built without the bus.
[[nodiscard]] std::optional<DnsSources> askResolved();

} // namespace netifwatch
