#pragma once

#include "platform/base/eventloop.h"
#include "platform/base/uniquefd.h"

namespace netifwatch
{

/// Takes SIGINT, SIGTERM and SIGQUIT, in the foreground also SIGHUP, as events of the loop; the background ignores
/// SIGHUP. SIGPIPE is ignored. The signals are blocked from the construction on: to be made before other threads are,
/// and by the process that runs the loop. Throws std::system_error when the kernel grants no descriptor.
class StopSignals
{
public:
    StopSignals(platform::EventLoop& a_oLoop, bool a_bForeground);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// The signal that asked for the end; 0 when none has.
    [[nodiscard]] int getStopSignal() const { return m_iSignal; }

private:
    void onReadable();

    platform::EventLoop& m_oLoop;
    platform::UniqueFd m_oSignals;
    int m_iSignal = 0;
};

} // namespace netifwatch
