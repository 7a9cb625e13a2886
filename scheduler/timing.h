#pragma once

#include <algorithm>
#include <cstdint>

namespace quorvad
{

// When tries are made, in seconds.

/// The first try follows a change after a random start period, uniformly distributed, so that the machines of a
/// district do not all ask at once after a power failure.
inline constexpr int g_iShortestStartSec = 51;
inline constexpr int g_iLongestStartSec = 70;

/// The interval at which the clock is read; a try begins up to that much late.
inline constexpr std::int32_t g_iSliceSec = 4;

/// The longest wait of the main loop for a change; reported outcomes are written at its end.
inline constexpr unsigned g_uiPassSec = 60;

/// The interval that follows; stays the same at the ends of the range.
[[nodiscard]] constexpr std::int32_t doubledInterval(std::int32_t a_iSeconds)
{
    const std::int64_t iDoubled = std::int64_t{2} * a_iSeconds;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(iDoubled, INT32_MIN, INT32_MAX));
}

} // namespace quorvad
