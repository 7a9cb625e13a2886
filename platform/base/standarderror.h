#pragma once

#include <string_view>

namespace platform
{

/// Writes the line to standard error with one write(2), so that lines of several threads or processes never mix. The
/// line brings its own line feed. Whatever goes wrong (no reader, full disk, closed descriptor) is ignored and leaves
/// no SIGPIPE behind; errno is kept. Any thread; blocks as long as the receiving end does.
void writeStandardError(std::string_view a_strLine) noexcept;

} // namespace platform
