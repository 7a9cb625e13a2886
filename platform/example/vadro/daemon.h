#pragma once

#include <string>

/// Names the PID file of one program.
struct VADRO_Daemon
{
    std::string m_strPidFile;
};

// Non-zero is yes, or success.
void VADRO_Daemon_construct(VADRO_Daemon* a_pDaemon, const char* a_pName, const char* a_pDirectory);
int VADRO_Daemon_occupiedPidFile(const VADRO_Daemon* a_pDaemon);
int VADRO_Daemon_daemonize(const VADRO_Daemon* a_pDaemon);
void VADRO_Daemon_deletePidFile(const VADRO_Daemon* a_pDaemon);
int VADRO_Daemon_createPidFile(const VADRO_Daemon* a_pDaemon);
