#pragma once

namespace korrin::net
{

/// Where the daemon sleeps. A file has no events to wait for, so this one looks again every second. It has no wakeUp(),
/// which a kit may leave out: a stop signal then ends the sleep.
class EventDispatcher
{
public:
    void handleEvents(unsigned int a_uiMilliseconds);
};

} // namespace korrin::net
