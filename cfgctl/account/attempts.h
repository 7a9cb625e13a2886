#pragma once

#include "cfgctl/database.h"

#include <ctime>
#include <string>

namespace cfgctl
{

/// How one attempt ended, as far as the tables tell. The order counts: nameOutcome's names are in it.
enum class Outcome
{
    Updated,
    Failed,
    Unknown ///< the expected text may be in the part of the answer that is not stored, or the account is gone
};

/// "ok", "failed" or "unknown", for programs.
[[nodiscard]] const char* nameOutcome(Outcome a_eOutcome);

/// The outcome of a DynDnsLog row. The account's DynDnsStatus row decides on the attempt with its Timestamp. Older ones
/// are judged by the daemon's rule, the account's present settings and the stored part of the answer; unknown for an
/// account that no longer exists (an empty row). Pure.
[[nodiscard]] Outcome
judgeAttempt(const korrin::ValueList& a_oAccount, const Rows& a_oStatus, const korrin::ValueList& a_oLogRow);

/// What happens next with an account, in a few plain words, as far as the tables tell. Pure.
[[nodiscard]] std::string
describeNext(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow);

} // namespace cfgctl
