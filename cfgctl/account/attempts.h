#pragma once

#include "cfgctl/database.h"

#include <ctime>
#include <optional>

namespace cfgctl
{

/// How one attempt ended, as far as the tables tell. The order counts: nameOutcome's names are in it.
enum class Outcome
{
    Updated,
    Unchanged, ///< the provider had the address already
    Failed,
    Unknown ///< the expected text may be in the part of the answer that is not stored, or the account is gone
};

/// "updated", "unchanged", "failed" or "unknown": the one word for it, for people and programs.
[[nodiscard]] const char* nameOutcome(Outcome a_eOutcome);

/// Whether the provider has the address.
[[nodiscard]] constexpr bool isSuccess(Outcome a_eOutcome)
{
    return a_eOutcome == Outcome::Updated || a_eOutcome == Outcome::Unchanged;
}

/// The outcome of a DynDnsLog row. The account's DynDnsStatus row decides on the attempt with its Timestamp. Older ones
/// are judged by the daemon's rule, the account's present settings and the stored part of the answer; unknown for an
/// account that no longer exists (an empty row). Pure.
[[nodiscard]] Outcome
judgeAttempt(const korrin::ValueList& a_oAccount, const Rows& a_oStatus, const korrin::ValueList& a_oLogRow);

/// The outcome of the account's last attempt; nothing before the first one. Pure.
[[nodiscard]] std::optional<Outcome> judgeLast(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

/// When its last success that is still known was. Pure.
[[nodiscard]] std::optional<std::time_t> lastSuccess(const korrin::ValueList& a_oAccount,
                                                     const StatusSources& a_oSources);

} // namespace cfgctl
