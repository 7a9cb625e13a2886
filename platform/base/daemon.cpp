#include "vadro/daemon.h"

#include "platform/base/io.h"
#include "platform/base/lockfile.h"
#include "platform/base/pidfile.h"
#include "platform/common/log.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr char s_acLogFile[] = "daemon";

using platform::LockFile;
using platform::UniqueFd;

constexpr int s_iLockLimitMs = 2000; // far more than two starts need, short enough for a start that must go on

pid_t s_iFirstParent = 0;
pid_t s_iSecondParent = 0;

/// Tells the first parent, by one errno value, what became of the start.
void report(int a_iFd, int a_iError)
{
    static_cast<void>(platform::writeAll(a_iFd, {reinterpret_cast<const char*>(&a_iError), sizeof a_iError}));
}

int awaitReport(int a_iFd)
{
    int iError = 0;
    const ssize_t iRead = platform::readOnce(a_iFd, reinterpret_cast<char*>(&iError), sizeof iError);
    return iRead == static_cast<ssize_t>(sizeof iError) ? iError : ECHILD; // ended without a report
}

void reap(pid_t a_iChild)
{
    while (waitpid(a_iChild, nullptr, 0) < 0 && errno == EINTR)
    {
    }
}

/// Opens the new session and returns in a process that does not lead it and so can never acquire a terminal. That
/// process itself reports the success: the one before it may be killed at any moment.
void forkSessionMember(int a_iReportFd)
{
    s_iSecondParent = getpid();
    if (setsid() < 0 || chdir("/") != 0)
    {
        report(a_iReportFd, errno);
        _exit(1);
    }
    const pid_t iChild = fork();
    if (iChild < 0)
    {
        report(a_iReportFd, errno);
    }
    if (iChild != 0)
    {
        _exit(iChild < 0 ? 1 : 0);
    }
    report(a_iReportFd, 0);
}

void redirectStandardDescriptors(UniqueFd& a_oNull)
{
    for (int iFd = STDIN_FILENO; iFd <= STDERR_FILENO; ++iFd)
    {
        dup2(a_oNull.get(), iFd);
    }
    if (a_oNull.get() <= STDERR_FILENO)
    {
        a_oNull.release();
    }
}

/// Detaches from the terminal and the calling process: double fork, new session, working directory "/", standard
/// descriptors on /dev/null. 0 in the detached process, the only one in which it returns after success; the first
/// parent waits until that process exists, then leaves with _exit(0). An errno value on failure, with the caller as
/// it was. No other thread may exist.
int detachProcess()
{
    UniqueFd oNull(::open("/dev/null", O_RDWR)); // first: while nothing has happened yet
    int aiPipe[2] = {-1, -1};
    if (!oNull.isOpen() || pipe2(aiPipe, O_CLOEXEC) != 0)
    {
        return errno;
    }
    UniqueFd oReportEnd(aiPipe[1]);
    UniqueFd oAwaitEnd(aiPipe[0]);
    std::fflush(nullptr); // or the detached process writes the parent's text a second time
    s_iFirstParent = getpid();
    const pid_t iChild = fork();
    if (iChild < 0)
    {
        return errno;
    }
    if (iChild > 0)
    {
        oReportEnd.reset();
        const int iError = awaitReport(oAwaitEnd.get());
        if (iError == 0)
        {
            _exit(0);
        }
        reap(iChild);
        return iError;
    }
    forkSessionMember(oReportEnd.get());
    oReportEnd.reset(); // before the standard descriptors are set: a pipe end may have one of their numbers
    oAwaitEnd.reset();
    redirectStandardDescriptors(oNull);
    return 0;
}

// The parents are about to end and no other instance. Once the PID file is written, their ids may be reused.
bool isDetachedParent(pid_t a_iPid)
{
    return a_iPid == s_iFirstParent || a_iPid == s_iSecondParent;
}

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
               "PID file %s cannot be read and counts as stale: %s",
               a_oDaemon.m_strPidFile.c_str(),
               reason(iError).c_str());
    }
    const bool bOther = iPid && *iPid != getpid() && !isDetachedParent(*iPid) && platform::isRunning(*iPid);
    return bOther ? iPid : std::nullopt;
}

void logNotRemoved(const VADRO_Daemon& a_oDaemon, const std::string& a_strReason)
{
    LOG_TO(
        moduleId(), warning, "PID file %s cannot be removed: %s", a_oDaemon.m_strPidFile.c_str(), a_strReason.c_str());
}

void logNotWritten(const VADRO_Daemon& a_oDaemon, int a_iError)
{
    const char* const pAdvice = a_iError == EEXIST   ? " - another process was faster"
                                : a_iError == ENOSPC ? " - free some space there"
                                : a_iError == EROFS  ? " - mount it writable"
                                                     : "";
    LOG_TO(moduleId(),
           error,
           "PID file %s cannot be written: %s%s",
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
    const int iError = detachProcess();
    if (iError != 0)
    {
        LOG_TO(moduleId(),
               error,
               "Cannot detach, the process stays in the foreground: %s",
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
        // Not for the file itself, which a link creates, but to remove what a killed start left behind.
        const LockFile oLock(lockName(*a_pDaemon), s_iLockLimitMs);
        iError = platform::writePidFile(oDirectory.get(), fileName(*a_pDaemon), getpid(), oLock.isHeld());
    }
    if (iError != 0)
    {
        logNotWritten(*a_pDaemon, iError);
    }
    else
    {
        s_iFirstParent = 0;
        s_iSecondParent = 0;
    }
    return iError == 0 ? 1 : 0;
}
