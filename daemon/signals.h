#pragma once

#include "platform/common/stopsignals.h"

#include <atomic>
#include <cstdint>

namespace korrin::net
{
class EventDispatcher;
}

namespace quorvad
{

/// The stop request: set by a termination signal, read by the main loop.
extern std::atomic<bool> g_bTerminate;
/// The main loop has begun, so that any signal may wake its dispatcher.
extern std::atomic<bool> g_bLoopRuns;
/// Log module of the main file; 0 until start-up has registered it.
extern std::uint32_t g_iModuleId;

// The handlers only record the signal and wake the dispatcher; writing to syslog could deadlock with the log call that
// was interrupted. They run on any thread and preserve errno.

/// SIGINT, SIGTERM and SIGQUIT.
void onTerminateSignal(int a_iSignal);
/// SIGPIPE. With it installed, a write to a closed socket fails instead of ending the process. Wakes a running loop.
void onSigPipe(int a_iSignal);

void installSignalHandlers();

/// Logs each signal recorded since the last call. Main thread.
void logRecordedSignals();

/// While it lives, a stop signal wakes the dispatcher, which must outlive it; an earlier stop signal wakes it at once.
/// One instance at a time, created and destroyed on the main thread.
class DispatcherWakeUp
{
public:
    explicit DispatcherWakeUp(korrin::net::EventDispatcher& a_oDispatcher);
    DispatcherWakeUp(const DispatcherWakeUp&) = delete;
    DispatcherWakeUp& operator=(const DispatcherWakeUp&) = delete;

private:
    platform::LoopWakeUp m_oWakeUp;
};

} // namespace quorvad
