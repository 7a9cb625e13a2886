#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

// PID files and the processes that they name. Failures are errno values; nothing is logged here.
namespace platform
{

/// The process id that the contents of a PID file name: one positive decimal number without sign, blanks or leading
/// zeros, in the range of a pid_t, and one line feed. Everything else names none. Pure.
[[nodiscard]] std::optional<pid_t> parsePid(std::string_view a_strContents) noexcept;

/// The process id in a file; none, and a_iError 0, when the contents name none. a_iError is ENOENT when there is no
/// file, EINVAL when it is not a regular file (a link is not followed). Never waits for a writer.
[[nodiscard]] std::optional<pid_t> readPidFile(int a_iDirFd, const std::string& a_strName, int& a_iError);

/// Writes "<pid>\n" with mode 0644 under a name that must not exist yet (EEXIST): through <name>.new, so that the file
/// is there whole or not at all. 0 on success. a_bLocked: the caller holds the file's LockFile, so that a <name>.new
/// can only be what a killed process left behind.
[[nodiscard]] int writePidFile(int a_iDirFd, const std::string& a_strName, pid_t a_iPid, bool a_bLocked);

/// The state of a process from the contents of its /proc/<pid>/stat ('Z': ended, its exit status not fetched yet); none
/// when the text is not one. The command's name in it may hold anything, blanks and parentheses included. Pure.
[[nodiscard]] std::optional<char> parseProcessState(std::string_view a_strContents);

/// True if the process lives, whoever owns it. A zombie does not; one that /proc does not show does. Does not block.
[[nodiscard]] bool isRunning(pid_t a_iPid);

} // namespace platform
