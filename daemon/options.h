#pragma once

#include <string>

namespace quorvad
{

/// The command line's settings.
struct Options
{
    std::string m_strCfgSocket = "/tmp/cfgserver.socket"; ///< fixed, no option changes it
    bool m_bDaemonize = true;
    bool m_bDebug = false;
    std::string m_strPidName; ///< accepted and kept; the PID file is always named after the program
};

/// Fills the options from the command line, in the order given. Ends the process itself: status 0 after the help or
/// version text, 1 after a wrong option.
void parseOptions(Options& a_oOptions, int a_iArgc, char** a_ppArgv);

void printUsage(const char* a_pProgram);

} // namespace quorvad
