#pragma once

#include <array>
#include <csignal>
#include <initializer_list>

namespace platform
{

/// The signals that end a program.
inline constexpr std::array<int, 3> g_aiStopSignals = {SIGINT, SIGTERM, SIGQUIT};

// For signal handlers: async-signal-safe, any thread, errno is kept.

/// Notes that the signal came.
void recordSignal(int a_iSignal) noexcept;
/// Ends the wait of the loop that a LoopWakeUp names, if there is one.
void wakeLoop() noexcept;

/// The signals recorded since the last call, bit n for signal n. Main thread.
[[nodiscard]] unsigned takeRecordedSignals();
[[nodiscard]] constexpr unsigned signalBit(int a_iSignal)
{
    return 1U << static_cast<unsigned>(a_iSignal);
}

/// sigaction with an empty mask; a_iFlags as there.
void handleSignal(int a_iSignal, void (*a_pHandler)(int), int a_iFlags);
void ignoreSignals(std::initializer_list<int> a_oSignals);

/// While it lives, wakeLoop() calls a_pWake, which must be async-signal-safe, with a_pLoop, which must outlive it. One
/// at a time, made and destroyed on the main thread.
class LoopWakeUp
{
public:
    LoopWakeUp(void (*a_pWake)(void* a_pLoop), void* a_pLoop);
    ~LoopWakeUp();
    LoopWakeUp(const LoopWakeUp&) = delete;
    LoopWakeUp& operator=(const LoopWakeUp&) = delete;
};

/// While it lives, the stop signals wait on this thread, and threads started meanwhile never take them.
class StopSignalBlock
{
public:
    enum class AtEnd
    {
        Restore, ///< the mask is as it was before
        Unblock  ///< they are let through, also where the parent process had blocked them
    };
    explicit StopSignalBlock(AtEnd a_eAtEnd);
    ~StopSignalBlock();
    StopSignalBlock(const StopSignalBlock&) = delete;
    StopSignalBlock& operator=(const StopSignalBlock&) = delete;

private:
    sigset_t m_oMask{}; ///< what to set or to unblock at the end
    AtEnd m_eAtEnd;
};

/// Ends a program on the stop signals and on some more: the handlers only note the signal and wake the loop. One per
/// process, made on the main thread. Signals that the parent had blocked are let through.
class StopSignals
{
public:
    /// The loop's wakeUp() must be async-signal-safe; the loop outlives this object.
    template<typename Loop>
    explicit StopSignals(Loop& a_oLoop, std::initializer_list<int> a_oMore = {})
        : m_oWakeUp([](void* a_pLoop) { static_cast<Loop*>(a_pLoop)->wakeUp(); }, &a_oLoop)
    {
        install(a_oMore);
    }

    /// The signal that asked for the end; 0 when none has.
    [[nodiscard]] int getStopSignal() const;

private:
    static void install(std::initializer_list<int> a_oMore);

    LoopWakeUp m_oWakeUp;
};

} // namespace platform
