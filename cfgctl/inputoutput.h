#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Files and the standard streams. "-" as the name of a file that is read means standard input.
namespace cfgctl
{

/// Reads a whole file. Blocks as long as the input does; a named pipe that nobody writes to is empty. Throws Failure
/// with the system's reason, or if the file has more than a_uiLimit bytes.
[[nodiscard]] std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit);

/// A file's content as a value, at most 64 KiB, without one trailing line end, which editors and echo add. Waits until
/// somebody writes to a named pipe. Throws
/// Failure as readFile does.
[[nodiscard]] std::string readValue(const std::string& a_strPath);

/// Writes a file that only its owner can read. An existing file is replaced once the new one is complete and on disk; a
/// device or pipe is written to. Throws Failure with the system's reason; an existing file is then unchanged.
void writeFile(const std::string& a_strPath, std::string_view a_strContent);

/// Writes everything to standard output. Blocks as long as the reader does; if the reader is gone, SIGPIPE ends the
/// program. Throws Failure with the system's reason.
void writeOut(std::string_view a_strText);

/// Writes a line to standard error, prefixed with "cfgctl: ", control bytes escaped. A failure is ignored.
void complain(std::string_view a_strText) noexcept;

/// Writes a line to standard error, prefixed with "warning: ", control bytes escaped; on a terminal it is wrapped at
/// words. For what speaks against a result, behind that result. A failure is ignored.
void warn(std::string_view a_strText) noexcept;

} // namespace cfgctl
