#pragma once

#include <algorithm>
#include <cstdint>

namespace quorvad
{

// When tries are made, in seconds.

/// The first try follows a change after a start period, each number of seconds from the shortest to the longest equally
/// likely, so that the machines of a district do not ask at once when power is back.
inline constexpr int g_iShortestStartSec = 51;
inline constexpr int g_iLongestStartSec = 70;

/// The clock is looked at this often, so a try begins up to that much late.
inline constexpr std::int32_t g_iSliceSec = 4;

/// The main loop waits this long for a change at most; a reported outcome is written by the end of the wait.
inline constexpr unsigned g_uiPassSec = 60;

/// The interval after the one that has passed; at the ends of the range it stays.
[[nodiscard]] constexpr std::int32_t doubledInterval(std::int32_t a_iSeconds)
{
    const std::int64_t iDoubled = std::int64_t{2} * a_iSeconds;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(iDoubled, INT32_MIN, INT32_MAX));
}

} // namespace quorvad
