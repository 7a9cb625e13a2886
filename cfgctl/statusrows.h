#pragma once

#include "cfgctl/database.h"
#include "cfgctl/table.h"

#include <ctime>

namespace cfgctl
{

/// One row per account: Id, Hostname, ServiceType, Interface, InterfaceUp (null when the interface is not monitored),
/// Addr, Addr6, Enable, Outcome ("ok", "failed", "never"), Timestamp, AgeSeconds, ResponseCode, Response of the
/// account's newest log row, Next (plain words); null where there is nothing. Pure.
[[nodiscard]] Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow);

/// The same for a person. Pure.
[[nodiscard]] Table makeStatusTable(const Rows& a_oStatusRows);

} // namespace cfgctl
