#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform
{

/// The text with everything that could start a line, steer a terminal or break a UTF-8 reader shown as \xNN (lower
/// case hexadecimal, one per byte): control bytes, 0x7f, C1 controls, the backslash, and bytes that are no valid UTF-8.
/// What is left is kept, so the result is one line of valid UTF-8 from which the original can be told byte by byte.
///
/// Where the result would exceed a_uiLimit bytes it ends early, at a whole character, with the mark
/// "...[cut, <size> bytes]", which may stand beyond the limit. Pure; throws std::bad_alloc only.
[[nodiscard]] std::string escape(std::string_view a_strText, std::size_t a_uiLimit = std::string_view::npos);

/// Length, 1 to 4, of the valid UTF-8 sequence that the text begins with; 0 when there is none. Overlong forms,
/// surrogates and code points above U+10FFFF are not valid.
[[nodiscard]] std::size_t getSequenceLength(std::string_view a_strText) noexcept;

/// Nothing but valid UTF-8. Pure.
[[nodiscard]] bool isUtf8(std::string_view a_strText) noexcept;

} // namespace platform
