#pragma once

#include "korrin/value.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace cfgctl
{

/// Parses a time stamp of the form "2026-03-01T17:45:09+0100", independent of the local zone; nothing for any other
/// text. Pure.
[[nodiscard]] std::optional<std::time_t> parseTimestamp(std::string_view a_strText);

/// "40 seconds", "1 minute", "2 hours", "5 days"; rounded down. Pure.
[[nodiscard]] std::string describeSpan(std::time_t a_iSeconds);

/// "just now", "3 minutes ago", "2 hours ago"; "2 hours ahead of this clock" for a time in the future, after a clock
/// was set back. Pure.
[[nodiscard]] std::string describeAge(std::time_t a_iSeconds);

/// Whether that age is one of the future, so that the clock was set back. Pure.
[[nodiscard]] bool isAhead(std::time_t a_iAge);

/// The seconds since a time stamp, limited to the range of an integer; null for an invalid one. Pure.
[[nodiscard]] korrin::Value ageOf(std::string_view a_strTimestamp, std::time_t a_iNow);

} // namespace cfgctl
