#pragma once

#include <optional>
#include <string>
#include <vector>

namespace netifwatch
{

/// Which interfaces are watched, by names or shell patterns ("wan*", "eth?").
struct InterfaceFilter
{
    std::vector<std::string> m_oIncluded; ///< empty: all but the loopback
    std::vector<std::string> m_oExcluded; ///< out in any case

    /// False also for a name that no row can hold (not UTF-8). Pure.
    [[nodiscard]] bool accepts(const std::string& a_strName) const;
};

/// The command line.
struct Options
{
    std::string m_strSocket = "/tmp/cfgserver.socket";
    InterfaceFilter m_oInterfaces;
    std::string m_strResolvConf = "/etc/resolv.conf";
    std::string m_strState; ///< obsolete: a file of noted rows, for the change-over
    int m_iEventBuffer = 0; ///< bytes; 0: the system's default
    bool m_bDns = true;
    bool m_bOnce = false;
    bool m_bPrint = false;
    bool m_bJson = false;
    bool m_bForeground = false;
    bool m_bDebug = false;
};

/// Reads the command line; paths come back absolute. Where there is nothing to run it has written the help, the version
/// (standard output) or what was wrong (standard error) and returns the exit status, 0 or 2.
[[nodiscard]] std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions);

} // namespace netifwatch
