#include "vadro/daemon.h"

#include "platform/base/detach.h"
#include "platform/base/lockfile.h"
#include "platform/base/pidfile.h"
#include "platform/base/processcheck.h"
#include "platform/base/uniquefd.h"
#include "platform/common/log.h"

#include <cerrno>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr char s_acLogFile[] = "daemon";

using platform::LockFile;
using platform::UniqueFd;

constexpr int s_iLockLimitMs = 2000; // far more than two starts need, short enough for a start that must go on

uint32_t moduleId()
{
    return VADRO_Sysloglevel_registerModul("quorvad");
}

std::string reason(int a_iError)
{
    return a_iError == EINVAL ? "not a regular file" : std::generic_category().message(a_iError);
}

std::string fileName(const VADRO_Daemon& a_oDaemon)
{
    return a_oDaemon.m_strName + ".pid";
}

std::string lockName(const VADRO_Daemon& a_oDaemon)
{
    return a_oDaemon.m_strPidFile + ".lock";
}

int openDirectory(const VADRO_Daemon& a_oDaemon)
{
    return ::open(a_oDaemon.m_strDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// The other live instance that the file names, if any.
std::optional<pid_t> readOtherInstance(const VADRO_Daemon& a_oDaemon, int a_iDirFd)
{
    int iError = 0;
    const std::optional<pid_t> iPid = platform::readPidFile(a_iDirFd, fileName(a_oDaemon), iError);
    if (iError != 0 && iError != ENOENT)
    {
        LOG_TO(moduleId(),
               warning,
               "PID file %s can't be read and counts as stale: %s",
               a_oDaemon.m_strPidFile.c_str(),
               reason(iError).c_str());
    }
    const bool bOther = iPid && *iPid != getpid() && !platform::isDetachedFrom(*iPid) && platform::isRunning(*iPid);
    return bOther ? iPid : std::nullopt;
}

void logNotRemoved(const VADRO_Daemon& a_oDaemon, const std::string& a_strReason)
{
    LOG_TO(
        moduleId(), warning, "PID file %s can't be removed: %s", a_oDaemon.m_strPidFile.c_str(), a_strReason.c_str());
}

void logNotWritten(const VADRO_Daemon& a_oDaemon, int a_iError)
{
    const char* const pAdvice = a_iError == EEXIST   ? " - another process was faster"
                                : a_iError == ENOSPC ? " - free some space there"
                                : a_iError == EROFS  ? " - mount it writable"
                                                     : "";
    LOG_TO(moduleId(),
           error,
           "PID file %s can't be written: %s%s",
           a_oDaemon.m_strPidFile.c_str(),
           std::generic_category().message(a_iError).c_str(),
           pAdvice);
}

} // namespace

void VADRO_Daemon_construct(VADRO_Daemon* a_pDaemon, const char* a_pName, const char* a_pDirectory)
{
    a_pDaemon->m_strName = a_pName;
    a_pDaemon->m_strDirectory = a_pDirectory;
    a_pDaemon->m_strPidFile = a_pDaemon->m_strDirectory + '/' + fileName(*a_pDaemon);
}

int VADRO_Daemon_occupiedPidFile(const VADRO_Daemon* a_pDaemon)
{
    const UniqueFd oDirectory(openDirectory(*a_pDaemon));
    return oDirectory.isOpen() && readOtherInstance(*a_pDaemon, oDirectory.get()) ? 1 : 0;
}

int VADRO_Daemon_daemonize(const VADRO_Daemon* /*a_pDaemon*/)
{
    const int iError = platform::detachProcess();
    if (iError != 0)
    {
        LOG_TO(moduleId(),
               error,
               "Can't detach, the process stays in the foreground: %s",
               std::generic_category().message(iError).c_str());
    }
    return iError == 0 ? 1 : 0;
}

void VADRO_Daemon_deletePidFile(const VADRO_Daemon* a_pDaemon)
{
    const UniqueFd oDirectory(openDirectory(*a_pDaemon));
    if (!oDirectory.isOpen())
    {
        logNotRemoved(*a_pDaemon, std::generic_category().message(errno));
        return;
    }
    // Without the lock, a file found stale could be another start's new one by the time it is removed. Held by somebody
    // for seconds on end, the lock must not stop this process from going on; a file of its own is safe to remove.
    const LockFile oLock(lockName(*a_pDaemon), s_iLockLimitMs);
    int iError = 0;
    if (!oLock.isHeld() && platform::readPidFile(oDirectory.get(), fileName(*a_pDaemon), iError) != getpid())
    {
        if (iError != ENOENT)
        {
            logNotRemoved(*a_pDaemon, oLock.getFailure());
        }
        return;
    }
    if (const std::optional<pid_t> iOther = readOtherInstance(*a_pDaemon, oDirectory.get()))
    {
        LOG_TO(moduleId(),
               info,
               "PID file %s names running process %d: kept",
               a_pDaemon->m_strPidFile.c_str(),
               static_cast<int>(*iOther));
        return;
    }
    if (unlinkat(oDirectory.get(), fileName(*a_pDaemon).c_str(), 0) != 0 && errno != ENOENT)
    {
        logNotRemoved(*a_pDaemon, std::generic_category().message(errno));
    }
}

int VADRO_Daemon_createPidFile(const VADRO_Daemon* a_pDaemon)
{
    const UniqueFd oDirectory(openDirectory(*a_pDaemon));
    int iError = errno;
    if (oDirectory.isOpen())
    {
        // Not needed for the file itself, which a link makes, but to clear away what a killed start left.
        const LockFile oLock(lockName(*a_pDaemon), s_iLockLimitMs);
        iError = platform::writePidFile(oDirectory.get(), fileName(*a_pDaemon), getpid(), oLock.isHeld());
    }
    if (iError != 0)
    {
        logNotWritten(*a_pDaemon, iError);
    }
    else
    {
        platform::forgetDetachedParents();
    }
    return iError == 0 ? 1 : 0;
}
