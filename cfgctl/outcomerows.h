#pragma once

#include "cfgctl/database.h"
#include "cfgctl/table.h"

#include <ctime>

namespace cfgctl
{

/// One row per account: Id, Hostname, ServiceType, Interface, InterfaceUp (null when the interface is not monitored),
/// Addr, Addr6, Enable, Outcome (nameOutcome's words or "never"), Timestamp, AgeSeconds, ResponseCode, Response of the
/// account's newest log row, Next (plain words); null where there is nothing. Pure.
[[nodiscard]] Rows makeStatusRows(const StatusSources& a_oSources, std::time_t a_iNow);

/// Their table. Pure.
[[nodiscard]] Table makeStatusTable(const Rows& a_oStatusRows);

/// DynDnsLog rows with an Id above a_iAfter, newest last, of one account or, if a_iAccount is 0, of all: Id, DynDnsId,
/// Hostname (null when the account is gone), Timestamp, AgeSeconds (null for a Timestamp that cannot be read), Outcome
/// (nameOutcome's words), ResponseCode, Response. Only the accounts, their status and log are read. Pure.
[[nodiscard]] Rows makeLogRows(const StatusSources& a_oSources, int a_iAccount, int a_iAfter, std::time_t a_iNow);

/// Their table. Pure.
[[nodiscard]] Table makeLogTable(const Rows& a_oLogRows);

/// One of them as a line, without headings. Pure.
[[nodiscard]] std::string makeLogLine(const korrin::ValueList& a_oLogRow, const Layout& a_oLayout);

} // namespace cfgctl
