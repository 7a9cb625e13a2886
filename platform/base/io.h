#pragma once

#include "platform/base/uniquefd.h"

#include <cstddef>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>

// What the system calls need written around them. Failures are told as by those: false, or no descriptor, and errno.
namespace platform
{

/// Writes all bytes, in as many calls as it takes; blocks as the descriptor does. A signal does not end it.
[[nodiscard]] bool writeAll(int a_iFd, std::string_view a_strBytes) noexcept;

/// Reads once; a signal does not end it. 0 at the end, negative for a failure.
[[nodiscard]] ssize_t readOnce(int a_iFd, char* a_pBytes, std::size_t a_uiSize) noexcept;

/// A duplicate whose number is none of the standard descriptors', which detaching points elsewhere.
[[nodiscard]] UniqueFd duplicateAboveStandard(int a_iFd) noexcept;

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
