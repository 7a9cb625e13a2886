#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace platform
{

/// How a program that can leave its terminal is run: with one log, one way to report its start and one way to fail. For
/// the main thread, while there is no other.
struct Program
{
    std::string m_strName; ///< names its log lines, its PID file and what it writes to standard error
    bool m_bForeground = false;
    bool m_bDebug = false;
    bool m_bNeedsPidFile = false; ///< in the background: fails where the PID file cannot be written
    std::string m_strPidFolder = "/run";
};

/// The work, with the handle of the log and with what it calls when it is ready. Failures are thrown.
using Work = std::function<void(std::uint32_t a_uiLog, const std::function<void()>& a_oReady)>;

/// Does the work in the foreground or in a detached process and returns the exit status, 0 or 1. A failure of
/// the work is one line in syslog, and on standard error as long as the caller is there; what keeps the caller from
/// starting it is on standard error alone.
///
/// In the foreground readiness is reported to the service manager that waits for it. In the background this returns in
/// the caller's process as soon as the detached one is ready or has failed, and that one never returns. The standard
/// descriptors must be open.
[[nodiscard]] int runProgram(const Program& a_oProgram, const Work& a_oWork);

/// The log of runProgram(), for a program that does something else. Returns its handle.
std::uint32_t openLog(const Program& a_oProgram);

/// "<program>: <text>" on standard error, as one line.
void complain(const std::string& a_strProgram, const std::string& a_strText);

} // namespace platform
