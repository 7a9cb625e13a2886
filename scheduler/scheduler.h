#pragma once

#include "scheduler/random.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace quorvad
{

class Action;

/// Runs one action on its own worker thread: first after a start period, then again after an interval that doubles with
/// each failure, until it succeeds, its tries are used up or the owner stops it.
///
/// Deadlines are wall-clock times: stepping the system clock moves them. The clock is read every 4 s, so a
/// try begins up to 4 s late. The worker holds m_oMutex except while it waits; stopping and destroying therefore block
/// until a try in progress has returned. SIGINT, SIGTERM and SIGQUIT never run on the worker.
class Scheduler
{
public:
    /// Starts the worker. a_iRetries is the number of tries; with 0 or less there is none. Throws std::system_error
    /// if no thread can be started; nothing is left behind.
    Scheduler(int a_iStartPeriodSec, int a_iRetries, std::shared_ptr<Action> a_pAction);
    /// Stops and joins the worker.
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Tells the worker to begin no further try and end, without waiting for it. For an owner about to destroy several:
    /// they end in parallel, and none begins a new attempt while the owner waits for the first. Any thread; the
    /// scheduler must still be destroyed.
    void announceStop() noexcept;
    /// Ends the worker and waits for it. The owner's thread only; harmless when repeated.
    void stop();

    /// One try: the action's result, or false with an error line if the action throws.
    /// Throws std::bad_alloc only if there is no action.
    bool exec();
    /// The worker's life, on the worker's thread.
    void run();
    /// Entry point of the worker's thread. Lets no exception out.
    static void task(Scheduler* a_pScheduler);

    std::int32_t m_iPeriodSec; ///< seconds to the next try; used by the worker alone once it runs
    std::int32_t m_iRetries;
    bool m_bStop; ///< guarded by m_oMutex
    std::shared_ptr<Action> m_pAction;
    std::thread m_oThread;
    std::uint32_t m_iModuleId;
    std::mutex m_oMutex;
    std::condition_variable m_oCondition;
    std::atomic<bool> m_bFinished; ///< the worker's last act; read without the lock

private:
    std::atomic<bool> m_bStopAnnounced;

    void complete();
    void logFailure(const char* a_pReason) const;
};

} // namespace quorvad
