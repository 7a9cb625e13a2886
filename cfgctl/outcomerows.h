#pragma once

#include "cfgctl/database.h"
#include "cfgctl/table.h"

#include <ctime>
#include <string>

namespace cfgctl
{

/// The colour of one of nameOutcome's words or of "never". Pure.
[[nodiscard]] Style styleOfOutcome(const std::string& a_strOutcome);

/// One row per account: Id, Hostname, ServiceType, Interface, InterfaceUp (null when the interface is not monitored),
/// Addr, Addr6, Enable, Outcome (nameOutcome's words or "never"), Timestamp, AgeSeconds, ResponseCode, Response of the
/// account's newest log row, Next (plain words); null where there is nothing. Pure.
[[nodiscard]] Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow);

/// Their table. Pure.
[[nodiscard]] Table makeStatusTable(const Rows& a_oStatusRows);

} // namespace cfgctl
