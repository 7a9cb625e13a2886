#pragma once

#include "cfgctl/account/sources.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What the tables tell of the tries after a failed one.
struct NextTry
{
    bool m_bUsedUp = false; ///< no try is left
    std::time_t m_iEarliest = 0;
    std::time_t m_iLatest = 0;
};

/// Reads the place of the last try from the distance to the one before it: the daemon waits 2, 4, 8, ... times its
/// start period of 51 to 70 seconds, ranges that don't overlap. A last try that fits none began a new series.
/// @param a_oFailures times of the account's newest log rows, the newest last; not empty
[[nodiscard]] NextTry estimateNextTry(const std::vector<std::time_t>& a_oFailures, int a_iTries);

/// What will happen next with an account, in a few plain words, as far as the tables tell. Pure.
[[nodiscard]] std::string
describeNext(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow);

} // namespace cfgctl
