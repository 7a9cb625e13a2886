#pragma once

#include "cfgctl/account/activity.h"
#include "cfgctl/database.h"
#include "scheduler/timing.h"

#include <ctime>
#include <optional>
#include <vector>

// The tries that the daemon makes until one succeeds, as far as the log shows them. Pure.
namespace cfgctl
{

/// How late the daemon may be with what is due, in stamps of whole seconds.
constexpr int g_iStampSlice = quorvad::g_iSliceSec + 1;

/// The failed tries since the last success, as far as they are logged. Attempts with an unknown outcome are included:
/// the gap to the next one shows whether that was a repetition.
struct Failures
{
    std::vector<std::time_t> m_oTimes;
    bool m_bWhole = false; ///< the first one of its series is among them: a success or the trigger came before
};

/// The account's own. What came before a_oStart belongs to an earlier series.
[[nodiscard]] Failures failuresOf(const korrin::ValueList& a_oAccount,
                                  const StatusSources& a_oSources,
                                  const std::optional<Trigger>& a_oStart);

/// How long the daemon waits after the given try of a series.
[[nodiscard]] std::time_t waitAfter(int a_iPlace, int a_iStart);

/// Which try of its series the last one was, as the gaps tell: the daemon waits 2, 4, 8, ... times its start period.
/// Long attempts leave several answers open; the lowest of them counts. A gap that fits none began a new series.
/// @param a_iAttempt how long one may take
[[nodiscard]] int lastPlace(const Failures& a_oFailures, std::time_t a_iAttempt);

} // namespace cfgctl
