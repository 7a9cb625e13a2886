#include "platform/base/io.h"

#include <cerrno>

#include <fcntl.h>

namespace platform
{

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
