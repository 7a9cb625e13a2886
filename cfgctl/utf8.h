#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cfgctl
{

/// Columns that a terminal needs for a text without control characters: combining marks take none, East Asian wide
/// characters and pictographs two, a byte that is no UTF-8 one. No locale is asked. Pure.
[[nodiscard]] std::size_t displayWidth(std::string_view a_strText);

/// The text, or, where it needs more than a_uiWidth columns, its longest beginning that fits with "…" behind it. Pure.
[[nodiscard]] std::string cutToWidth(std::string_view a_strText, std::size_t a_uiWidth);

} // namespace cfgctl
