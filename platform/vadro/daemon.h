#pragma once

#include <string>

/// Names the PID file of one program. A plain record; nothing to release.
struct VADRO_Daemon
{
    std::string m_strName;      ///< program name
    std::string m_strDirectory; ///< directory of the PID file
    std::string m_strPidFile;   ///< full path, <directory>/<name>.pid
};

// All functions: main thread, before any other thread exists (deletePidFile also after they have ended).
// Failures are logged with the file's name and the system's reason.

void VADRO_Daemon_construct(VADRO_Daemon* a_pDaemon, const char* a_pName, const char* a_pDirectory);

/// Non-zero if the PID file names a running process other than the caller. A file that holds anything but one positive
/// decimal number and a line feed is stale, as is one that names no live process. A process that has ended but was not
/// reaped yet doesn't run.
int VADRO_Daemon_occupiedPidFile(const VADRO_Daemon* a_pDaemon);

/// Detaches: double fork, new session, working directory "/", standard descriptors on /dev/null. Returns in the
/// detached process only; the parents leave with _exit(0), the first one once the detached process exists. Non-zero on
/// success; on failure nothing is detached and the caller goes on as before.
int VADRO_Daemon_daemonize(const VADRO_Daemon* a_pDaemon);

/// Removes the PID file unless it names another live process. Starts and stops exclude each other by
/// <file>.lock, which is there only meanwhile and is waited for at most 2 s; where somebody holds it that long, only a
/// file that names the caller is removed.
void VADRO_Daemon_deletePidFile(const VADRO_Daemon* a_pDaemon);

/// Writes the caller's process id, "<pid>\n", mode 0644, whole or not at all, never over an existing file. Non-zero on
/// success; zero when another process was faster (VADRO_Daemon_occupiedPidFile then tells) or the file can't be
/// written, of which nothing is left then.
int VADRO_Daemon_createPidFile(const VADRO_Daemon* a_pDaemon);
