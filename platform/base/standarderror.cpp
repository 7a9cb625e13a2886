#include "platform/base/standarderror.h"

#include "platform/base/errnoguard.h"

#include <csignal>
#include <ctime>
#include <unistd.h>

namespace platform
{

namespace
{

// Holds back the SIGPIPE that a write to a pipe without reader raises. A daemon that logs its SIGPIPEs to such a pipe
// would otherwise answer every line with another one, for ever.
class SigPipeGuard
{
public:
    SigPipeGuard() noexcept
    {
        sigset_t oPending;
        sigemptyset(&m_oSigPipe);
        sigaddset(&m_oSigPipe, SIGPIPE);
        sigpending(&oPending);
        m_bPendingBefore = sigismember(&oPending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_oSigPipe, &m_oOldMask);
    }
    ~SigPipeGuard()
    {
        if (m_bRaised && !m_bPendingBefore)
        {
            const timespec oNow{};
            while (sigtimedwait(&m_oSigPipe, nullptr, &oNow) < 0 && errno == EINTR)
            {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_oOldMask, nullptr);
    }
    SigPipeGuard(const SigPipeGuard&) = delete;
    SigPipeGuard& operator=(const SigPipeGuard&) = delete;

    void setRaised() { m_bRaised = true; }

private:
    sigset_t m_oSigPipe{};
    sigset_t m_oOldMask{};
    bool m_bPendingBefore = false;
    bool m_bRaised = false;
};

} // namespace

void writeStandardError(std::string_view a_strLine) noexcept
{
    const ErrnoGuard oErrno;
    SigPipeGuard oGuard;
    ssize_t iWritten = 0;
    do
    {
        iWritten = ::write(STDERR_FILENO, a_strLine.data(), a_strLine.size());
    } while (iWritten < 0 && errno == EINTR);
    if (iWritten < 0 && errno == EPIPE)
    {
        oGuard.setRaised();
    }
}

} // namespace platform
