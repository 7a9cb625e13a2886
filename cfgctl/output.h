#pragma once

#include <string_view>

namespace cfgctl
{

/// Writes everything, EINTR and short writes included; false with errno set when the system refuses. May block.
[[nodiscard]] bool writeAll(int a_iFd, std::string_view a_strText) noexcept;

/// Writes everything to standard output before it returns. Blocks as long as the reader does; a reader that went away
/// ends the program by SIGPIPE. Throws Failure with the system's reason.
void writeOut(std::string_view a_strText);

/// One line on standard error, "cfgctl: " in front, control bytes made visible. A failure is ignored.
void complain(std::string_view a_strText) noexcept;

} // namespace cfgctl
