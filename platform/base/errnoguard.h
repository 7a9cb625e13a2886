#pragma once

#include <cerrno>

namespace platform
{

/// Gives errno back as it was: for what runs inside a signal handler or between a failing call and its report.
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

} // namespace platform
