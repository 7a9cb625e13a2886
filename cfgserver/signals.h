#pragma once

#include "platform/base/eventloop.h"

namespace cfgserver
{

/// Ends the service on SIGINT, SIGTERM and SIGQUIT, in the foreground also on SIGHUP, which the background ignores
/// along with SIGPIPE and SIGXFSZ: a dead client and a full disk are error codes, no reason to die. The handlers only
/// note the signal and wake the loop. One object per process; the loop outlives it.
class Signals
{
public:
    Signals(platform::EventLoop& a_oLoop, bool a_bForeground);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// The signal that asked for the end; 0 when none has.
    [[nodiscard]] int getStopSignal() const;
};

} // namespace cfgserver
