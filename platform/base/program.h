#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace platform
{

/// A program that can detach from its terminal. For the main thread, while there is no other.
struct Program
{
    std::string m_strName; ///< names its log lines, its PID file and what it writes to standard error
    bool m_bForeground = false;
    bool m_bDebug = false;
    bool m_bNeedsPidFile = false; ///< in the background: fails where the PID file cannot be written
    std::string m_strPidFolder = "/run";
};

/// What the program does: gets the handle of the log and a function to call when it is ready. Throws its failures.
using Work = std::function<void(std::uint32_t a_uiLog, const std::function<void()>& a_oReady)>;

/// Does the work in the foreground or in a detached process and returns the exit status, 0 or 1. A failure of the work
/// is one line in syslog, and on standard error while the caller waits. What keeps the second process from existing is
/// on standard error alone.
///
/// In the foreground the service manager is notified. In the background this returns in the caller's process as soon as
/// the detached one, which never returns, is ready or has failed. The standard descriptors must be open.
[[nodiscard]] int runProgram(const Program& a_oProgram, const Work& a_oWork);

/// Opens the log as runProgram() does and returns its handle.
std::uint32_t openLog(const Program& a_oProgram);

/// "<program>: <text>" on standard error, as one line.
void complain(const std::string& a_strProgram, const std::string& a_strText);

} // namespace platform
