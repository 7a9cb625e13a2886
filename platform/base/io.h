#pragma once

#include "platform/base/uniquefd.h"

#include <cerrno>
#include <cstddef>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>

// System calls with what has to be written around them. Failures are false, or no descriptor, and errno.
namespace platform
{

/// Restores errno: for what runs inside a signal handler or between a failing call and its report.
class ErrnoGuard
{
public:
    ErrnoGuard() = default;
    ~ErrnoGuard() { errno = m_iErrno; }
    ErrnoGuard(const ErrnoGuard&) = delete;
    ErrnoGuard& operator=(const ErrnoGuard&) = delete;

private:
    int m_iErrno = errno;
};

/// Writes all bytes, in as many calls as it takes; blocks as the descriptor does. A signal does not end it.
[[nodiscard]] bool writeAll(int a_iFd, std::string_view a_strBytes) noexcept;

/// Reads once; a signal does not end it. 0 at the end, negative for a failure.
[[nodiscard]] ssize_t readOnce(int a_iFd, char* a_pBytes, std::size_t a_uiSize) noexcept;

/// A duplicate with a number above the standard descriptors, which detaching redirects.
[[nodiscard]] UniqueFd duplicateAboveStandard(int a_iFd) noexcept;

/// Writes the line to standard error with one write(2), so that lines of several threads or processes never mix. The
/// line ends with its own line feed. Whatever goes wrong (no reader, full disk, closed descriptor) is ignored and
/// leaves no SIGPIPE behind; errno is kept. Any thread; blocks as long as the receiving end does.
void writeStandardError(std::string_view a_strLine) noexcept;

/// The address of a Unix socket: a path.
class UnixAddress
{
public:
    static constexpr std::size_t s_uiMaxPath = sizeof(sockaddr_un::sun_path) - 1;

    explicit UnixAddress(std::string_view a_strPath) noexcept;

    /// False for an empty path and one of more than s_uiMaxPath bytes; connect and bind then fail.
    [[nodiscard]] bool isValid() const noexcept { return m_iError == 0; }
    [[nodiscard]] bool connect(int a_iFd) const noexcept;
    [[nodiscard]] bool bind(int a_iFd) const noexcept;

private:
    using SystemCall = int (*)(int, const sockaddr*, socklen_t);
    [[nodiscard]] bool apply(SystemCall a_pCall, int a_iFd) const noexcept;

    sockaddr_un m_oAddress{};
    socklen_t m_uiSize = 0;
    int m_iError = 0;
};

} // namespace platform
