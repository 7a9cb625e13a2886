#pragma once

#include "cfgctl/database.h"
#include "cfgctl/table.h"

#include <ctime>
#include <string>

namespace cfgctl
{

// The attempts that the log holds.

/// DynDnsLog rows with an Id above a_iAfter, of one account or, if a_iAccount is 0, of all: Id, DynDnsId, Hostname and
/// Interface (null when the account is gone), Timestamp, AgeSeconds (null for a Timestamp that cannot be read), Outcome
/// (nameOutcome's words), ResponseCode, Response as stored. Ordered by time, then Id: the daemon writes what happened
/// within a minute in any order. A row whose Timestamp cannot be read stays between its neighbours in the table. Only
/// the accounts, their status and log are read. Pure.
[[nodiscard]] Rows makeLogRows(const StatusSources& a_oSources, int a_iAccount, int a_iAfter, std::time_t a_iNow);

/// What they are made of, as it is now. Throws Failure as Database does.
[[nodiscard]] StatusSources readLogSources(Database& a_oDatabase);

/// Their table, one line each: a layout that is too narrow for it gets no ages and shorter answers, and blocks only if
/// that is still too wide. Pure.
[[nodiscard]] std::string renderLog(const Rows& a_oLogRows, const Layout& a_oLayout);

/// One of them as a line, without headings, cut where the layout ends; where that is too narrow, longer with a short
/// answer. Pure.
[[nodiscard]] std::string makeLogLine(const korrin::ValueList& a_oLogRow, const Layout& a_oLayout);

/// A sentence if accounts' newest rows were refused with HTTP status 401 or 403, which means a wrong user name or
/// password; else empty. Pure.
[[nodiscard]] std::string explainRefusals(const Rows& a_oLogRows);

} // namespace cfgctl
