#pragma once

#include <string>

namespace quorvad
{

/// The local time now, to the second, as in 2026-03-01T17:45:09+0100. Any thread; follows changes of the time zone.
[[nodiscard]] std::string currentTimeToIsoFormat();

} // namespace quorvad
