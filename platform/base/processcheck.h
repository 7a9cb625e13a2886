#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace platform
{

/// What /proc/<pid>/stat tells of a process.
struct ProcessState
{
    std::string m_strCommand; // at most 15 bytes of the program's name
    char m_cState = '?';      // 'Z': ended, its exit status not fetched yet
};

/// Takes command and state from the contents of a stat file; none when the text isn't one. The command may hold
/// anything, blanks and parentheses included. Pure.
[[nodiscard]] std::optional<ProcessState> parseProcessStat(std::string_view a_strContents);

/// True when the process lives, whoever it belongs to; one that has ended and was not reaped yet doesn't. One of which
/// /proc tells nothing counts as alive. Doesn't block.
[[nodiscard]] bool isRunning(pid_t a_iPid);

} // namespace platform
