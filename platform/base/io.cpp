#include "platform/base/io.h"

#include <csignal>
#include <ctime>

#include <fcntl.h>

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

bool writeAll(int a_iFd, std::string_view a_strBytes) noexcept
{
    while (!a_strBytes.empty())
    {
        const ssize_t iWritten = ::write(a_iFd, a_strBytes.data(), a_strBytes.size());
        if (iWritten < 0 && errno != EINTR)
        {
            return false;
        }
        if (iWritten == 0)
        {
            errno = EIO;
            return false;
        }
        a_strBytes.remove_prefix(iWritten > 0 ? static_cast<std::size_t>(iWritten) : 0);
    }
    return true;
}

ssize_t readOnce(int a_iFd, char* a_pBytes, std::size_t a_uiSize) noexcept
{
    ssize_t iRead = -1;
    do
    {
        iRead = ::read(a_iFd, a_pBytes, a_uiSize);
    } while (iRead < 0 && errno == EINTR);
    return iRead;
}

UniqueFd duplicateAboveStandard(int a_iFd) noexcept
{
    return UniqueFd(::fcntl(a_iFd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

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

UnixAddress::UnixAddress(std::string_view a_strPath) noexcept
    : m_uiSize(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + a_strPath.size())),
      m_iError(a_strPath.empty()                ? ENOENT
               : a_strPath.size() > s_uiMaxPath ? ENAMETOOLONG
                                                : 0)
{
    m_oAddress.sun_family = AF_UNIX;
    a_strPath.copy(m_oAddress.sun_path, s_uiMaxPath);
}

bool UnixAddress::connect(int a_iFd) const noexcept
{
    return apply(::connect, a_iFd);
}

bool UnixAddress::bind(int a_iFd) const noexcept
{
    return apply(::bind, a_iFd);
}

bool UnixAddress::apply(SystemCall a_pCall, int a_iFd) const noexcept
{
    if (!isValid())
    {
        errno = m_iError;
        return false;
    }
    return a_pCall(a_iFd, reinterpret_cast<const sockaddr*>(&m_oAddress), m_uiSize) == 0;
}

} // namespace platform
