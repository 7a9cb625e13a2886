#include "vadro/daemon.h"

#include "platform/base/io.h"
#include "platform/base/lockfile.h"
#include "platform/base/pidfile.h"
#include "platform/common/log.h"

#include <cerrno>
#include <csignal>
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

/// While it lives, the exit status of a child is kept even where the caller's parent left SIGCHLD ignored.
class DefaultChildSignal
{
public:
    DefaultChildSignal()
    {
        struct sigaction oDefault = {};
        oDefault.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &oDefault, &m_oOld);
    }
    ~DefaultChildSignal()
    {
        const platform::ErrnoGuard oErrno;
        ::sigaction(SIGCHLD, &m_oOld, nullptr);
    }
    DefaultChildSignal(const DefaultChildSignal&) = delete;
    DefaultChildSignal& operator=(const DefaultChildSignal&) = delete;

private:
    struct sigaction m_oOld = {};
};

/// Waits for the process between this one and the detached one; the errno value with which it ended, 0 for success. One
/// that was killed counts as a failure, even if it had forked by then: the PID file keeps the two from both going on.
int awaitStart(pid_t a_iChild)
{
    int iStatus = 0;
    while (waitpid(a_iChild, &iStatus, 0) < 0)
    {
        if (errno != EINTR)
        {
            return errno;
        }
    }
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : ECHILD;
}

/// Opens the new session and returns in a process that does not lead it and so can never acquire a terminal.
void forkSessionMember()
{
    s_iSecondParent = getpid();
    if (setsid() < 0 || chdir("/") != 0)
    {
        _exit(errno);
    }
    const pid_t iChild = fork();
    if (iChild != 0)
    {
        _exit(iChild < 0 ? errno : 0);
    }
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
    if (!oNull.isOpen())
    {
        return errno;
    }
    std::fflush(nullptr); // or the detached process writes the parent's text a second time
    const DefaultChildSignal oSignal;
    s_iFirstParent = getpid();
    const pid_t iChild = fork();
    if (iChild < 0)
    {
        return errno;
    }
    if (iChild > 0)
    {
        const int iError = awaitStart(iChild);
        if (iError == 0)
        {
            _exit(0);
        }
        return iError;
    }
    forkSessionMember();
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
