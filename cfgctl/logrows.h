#pragma once

#include "cfgctl/account/sources.h"
#include "cfgctl/table.h"

#include <ctime>

namespace cfgctl
{

/// DynDnsLog rows with an Id above a_iAfter, the newest last, of one account unless a_iAccount is 0: Id, DynDnsId,
/// Hostname, Timestamp, AgeSeconds, Outcome ("ok", "failed"; "unknown" of an account that is gone), ResponseCode,
/// Response; null where there is nothing. Pure.
[[nodiscard]] Rows
makeLogRows(const Rows& a_oAccounts, const Rows& a_oLog, int a_iAccount, int a_iAfter, std::time_t a_iNow);

/// The same for a person. Pure.
[[nodiscard]] Table makeLogTable(const Rows& a_oLogRows);

/// One of them as a line, for output that grows. Pure.
[[nodiscard]] std::string makeLogLine(const korrin::ValueList& a_oLogRow, const Layout& a_oLayout);

} // namespace cfgctl
