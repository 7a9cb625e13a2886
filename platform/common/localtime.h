#pragma once

#include <ctime>
#include <string>

namespace platform
{

/// The time in the local zone as strftime formats it; a result beyond 63 bytes is empty. The zone is read
/// once per process, unless somebody calls tzset(). Any thread.
[[nodiscard]] std::string formatLocalTime(std::time_t a_iTime, const char* a_pFormat);

/// To the second with the distance to UTC, as in 2026-03-01T17:45:09+0100: the form of every time stamp in the tables.
inline constexpr char g_acIsoFormat[] = "%FT%T%z";

} // namespace platform
