#pragma once

#include <cerrno>

namespace vadro::base
{

/// Gives errno back as it was: for what runs inside a signal handler or between a failing call and its report.
class ErrnoKeeper
{
public:
    ErrnoKeeper() = default;
    ~ErrnoKeeper() { errno = m_iErrno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int m_iErrno = errno;
};

} // namespace vadro::base
