#pragma once

#include "korrin/value.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace cfgctl
{

/// The moment that a text of the form "2026-03-01T17:45:09+0100" names, independent of this machine's zone; nothing
/// for any other text. Pure.
[[nodiscard]] std::optional<std::time_t> parseTimestamp(std::string_view a_strText);

/// "40 seconds", "1 minute", "2 hours", "5 days"; rounded down. Pure.
[[nodiscard]] std::string describeSpan(std::time_t a_iSeconds);

/// "just now", "3 minutes ago", "2 hours ago"; "2 hours ahead of this clock" for a moment to come, which only a clock
/// that was set back can show. Pure.
[[nodiscard]] std::string describeAge(std::time_t a_iSeconds);

/// Seconds since then, as far as an integer goes; null for a text that names no moment. Pure.
[[nodiscard]] korrin::Value ageOf(std::string_view a_strTimestamp, std::time_t a_iNow);

} // namespace cfgctl
