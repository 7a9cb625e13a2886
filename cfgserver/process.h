#pragma once

#include <optional>
#include <string>

namespace cfgserver
{

/// The command line.
struct Options
{
    std::string m_strSocket = "/tmp/cfgserver.socket";
    std::string m_strDatabase = "/var/lib/quorvad/config.db";
    std::string m_strGroup; ///< empty: none
    bool m_bForeground = false;
    bool m_bDebug = false;
};

/// Reads the command line; paths come back absolute. Where there is nothing to run it has written the help, the version
/// (standard output) or what was wrong (standard error) and returns the exit status: 0, 2, or 1 for a relative path in
/// a folder that is gone.
[[nodiscard]] std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions);

/// Runs the service until SIGINT, SIGTERM or SIGQUIT (in the foreground also SIGHUP) and returns the exit status: 0, or
/// 1 when it could not start or go on, with one line on standard error and in syslog that says why. In the background
/// it returns in the caller's process as soon as the service is ready or has failed. Main thread, once per process.
[[nodiscard]] int runProcess(const Options& a_oOptions);

} // namespace cfgserver
