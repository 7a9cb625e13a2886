#pragma once

#include "cfgctl/account/provider.h"
#include "cfgctl/account/series.h"
#include "cfgctl/database.h"
#include "scheduler/timing.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// When the first try follows a change, in seconds.
inline constexpr int g_iEarliestTrySec = quorvad::g_iShortestStartSec;
inline constexpr int g_iLatestTrySec = quorvad::g_iLongestStartSec + g_iStampSlice;

/// "within 75 seconds". Pure.
[[nodiscard]] std::string describeFirstTry();

/// Tells which other accounts a change of some sends again, and who blocks clients that repeat an unchanged address; a
/// sentence, empty if no other is sent or no daemon is connected. The daemon takes up the DNS servers afresh with every
/// change of DynDns and sends all enabled accounts on interfaces that have one, unless only the user's own servers are
/// asked. Pure.
/// @param a_oChanged the Ids of the accounts that are changed
[[nodiscard]] std::string describeResend(const StatusSources& a_oSources,
                                         const Providers& a_oProviders,
                                         const std::vector<std::string>& a_oChanged);

} // namespace cfgctl
