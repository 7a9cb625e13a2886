#pragma once

#include <atomic>
#include <csignal>
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

// The handlers only record the signal and wake the dispatcher. A handler that wrote to syslog could deadlock with the
// log call that it interrupted. They run on any thread and keep errno.

/// SIGINT, SIGTERM and SIGQUIT.
void onTerminateSignal(int a_iSignal);
/// SIGPIPE. With it installed, a write to a closed socket fails instead of ending the process. Wakes a running loop.
void onSigPipe(int a_iSignal);

void installSignalHandlers();

/// Writes one log line for each signal that was recorded since the last call. Main thread.
void logRecordedSignals();

/// While it lives, the stop signals wait. They are let through at its end, also where the parent process had blocked
/// them: a daemon that can't be stopped is of no use. Otherwise the thread's mask is restored.
class StopSignalBlock
{
public:
    StopSignalBlock();
    ~StopSignalBlock();
    StopSignalBlock(const StopSignalBlock&) = delete;
    StopSignalBlock& operator=(const StopSignalBlock&) = delete;

private:
    sigset_t m_oStopSignals;
};

/// While it lives, a stop signal wakes the dispatcher, which must outlive it. A stop signal that came before wakes it
/// at once. One instance at a time, made and destroyed on the main thread.
class DispatcherWakeUp
{
public:
    explicit DispatcherWakeUp(korrin::net::EventDispatcher& a_oDispatcher);
    ~DispatcherWakeUp();
    DispatcherWakeUp(const DispatcherWakeUp&) = delete;
    DispatcherWakeUp& operator=(const DispatcherWakeUp&) = delete;
};

} // namespace quorvad
