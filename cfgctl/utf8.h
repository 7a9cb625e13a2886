#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cfgctl
{

/// The columns that a text without control characters takes on a terminal: none for combining marks, two for East Asian
/// wide characters and pictographs, one for an invalid byte. Independent of the locale. Pure.
[[nodiscard]] std::size_t displayWidth(std::string_view a_strText);

/// The text, cut to a_uiWidth columns with "…" at the end if it is wider. Pure.
[[nodiscard]] std::string cutToWidth(std::string_view a_strText, std::size_t a_uiWidth);

} // namespace cfgctl
