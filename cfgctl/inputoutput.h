#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Files and the standard streams. "-" as the name of a file that is read means standard input.
namespace cfgctl
{

/// Reads a file whole. Blocks as long as the input does. Throws Failure with the system's reason, or when there are
/// more than a_uiLimit bytes.
[[nodiscard]] std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit);

/// A file's content as a value, at most 64 KiB. One line end at its end is dropped, since editors and echo put it
/// there. Throws Failure as readFile does.
[[nodiscard]] std::string readValue(const std::string& a_strPath);

/// Writes a file that only its owner can read. A file of that name is replaced once the new one is whole, on disk and
/// closed; a device or pipe of that name is written to. Throws Failure with the system's reason; an old file is then
/// as it was.
void writeFile(const std::string& a_strPath, std::string_view a_strContent);

/// Writes everything to standard output before it returns. Blocks as long as the reader does; a reader that went away
/// ends the program by SIGPIPE. Throws Failure with the system's reason.
void writeOut(std::string_view a_strText);

/// One line on standard error, "cfgctl: " in front, control bytes made visible. A failure is ignored.
void complain(std::string_view a_strText) noexcept;

} // namespace cfgctl
