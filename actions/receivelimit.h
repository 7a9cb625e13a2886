#pragma once

#include <chrono>

namespace quorvad
{

/// For its lifetime, sockets of this thread have nothing to receive once the time has passed: recv() fails with EAGAIN,
/// also where data waits. A transfer library that keeps receiving while data is there, and looks at its own limit only
/// when there is none, then sees it. Not nested. Programs that link this library have recv() go through it.
class ReceiveLimit
{
public:
    explicit ReceiveLimit(std::chrono::milliseconds a_oFromNow);
    ~ReceiveLimit();
    ReceiveLimit(const ReceiveLimit&) = delete;
    ReceiveLimit& operator=(const ReceiveLimit&) = delete;
};

} // namespace quorvad
