#include "platform/base/detach.h"

#include "platform/base/io.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform
{

namespace
{

pid_t s_iFirstParent = 0;
pid_t s_iSecondParent = 0;

// One errno value tells the first parent what became of the start.
void report(int a_iFd, int a_iError)
{
    static_cast<void>(writeAll(a_iFd, {reinterpret_cast<const char*>(&a_iError), sizeof a_iError}));
}

int awaitReport(int a_iFd)
{
    int iError = 0;
    const ssize_t iRead = readOnce(a_iFd, reinterpret_cast<char*>(&iError), sizeof iError);
    return iRead == static_cast<ssize_t>(sizeof iError) ? iError : ECHILD; // ended without a word
}

void reap(pid_t a_iChild)
{
    while (waitpid(a_iChild, nullptr, 0) < 0 && errno == EINTR)
    {
    }
}

// Opens the new session and returns in a process that doesn't lead it: such a one can never acquire a terminal.
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

} // namespace

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

void forgetDetachedParents()
{
    s_iFirstParent = 0;
    s_iSecondParent = 0;
}

bool isDetachedFrom(pid_t a_iPid)
{
    return a_iPid == s_iFirstParent || a_iPid == s_iSecondParent;
}

} // namespace platform
