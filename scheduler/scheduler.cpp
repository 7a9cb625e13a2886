#include "scheduler/scheduler.h"

#include "actions/action.h"
#include "platform/common/log.h"
#include "platform/common/stopsignals.h"
#include "scheduler/timing.h"
#include "vadro/error/assert.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvad
{

namespace
{

constexpr char s_acLogFile[] = "scheduler";

using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

long threadId()
{
    return static_cast<long>(syscall(SYS_gettid));
}

TimePoint now()
{
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
}

// Saturates instead of wrapping into the past, which would make a far deadline due at once.
TimePoint later(TimePoint a_oFrom, std::int32_t a_iSeconds)
{
    const std::chrono::microseconds oSpan = std::chrono::seconds(a_iSeconds);
    return a_oFrom > TimePoint::max() - std::max(oSpan, std::chrono::microseconds(0)) ? TimePoint::max()
                                                                                      : a_oFrom + oSpan;
}

} // namespace

Scheduler::Scheduler(int a_iStartPeriodSec, int a_iRetries, std::shared_ptr<Action> a_pAction)
    : m_iPeriodSec(a_iStartPeriodSec), m_iRetries(a_iRetries), m_bStop(false), m_pAction(std::move(a_pAction)),
      m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad")), m_bFinished(false), m_bStopAnnounced(false)
{
    LOG_DEBUG("Built scheduler with %d retries and %d seconds as start period", m_iRetries, m_iPeriodSec);
    const platform::StopSignalBlock oBlocked(platform::StopSignalBlock::AtEnd::Restore);
    try
    {
        m_oThread = std::thread(task, this);
    }
    catch (const std::system_error& oError) // the system's reason alone says nothing about threads
    {
        throw std::system_error(oError.code(), "Can't start a thread for an update (limit on processes or memory?)");
    }
}

Scheduler::~Scheduler()
{
    LOG_DEBUG("(%li) ~Scheduler", threadId());
    stop();
}

void Scheduler::announceStop() noexcept
{
    m_bStopAnnounced.store(true);
    // Without the mutex, which a try in progress holds. A worker just about to wait misses this; stop() then ends it.
    m_oCondition.notify_one();
}

void Scheduler::stop()
{
    LOG_DEBUG("(%li) stop", threadId());
    {
        const std::lock_guard<std::mutex> oLock(m_oMutex);
        m_bStop = true;
        m_oCondition.notify_one();
    }
    if (m_oThread.joinable())
    {
        m_oThread.join();
    }
}

bool Scheduler::exec()
{
    LOG_DEBUG("(%li) exec", threadId());
    if (!m_pAction)
    {
        vadro::error::Assert::throwBadAlloc();
    }
    try
    {
        return m_pAction->execute();
    }
    catch (const std::exception& oException)
    {
        logFailure(oException.what());
    }
    catch (...)
    {
        logFailure("unknown exception");
    }
    return false;
}

void Scheduler::run()
{
    LOG_DEBUG("(%li) run", threadId());
    TimePoint oDeadline = later(now(), m_iPeriodSec);
    m_iPeriodSec = doubledInterval(m_iPeriodSec);
    std::unique_lock<std::mutex> oLock(m_oMutex);
    int iCount = 0;
    while (iCount < m_iRetries && !m_bStop && !m_bStopAnnounced.load())
    {
        const TimePoint oSliceEnd = later(now(), g_iSliceSec);
        if (m_oCondition.wait_until(oLock, oSliceEnd, [this] { return m_bStop || m_bStopAnnounced.load(); }))
        {
            LOG_DEBUG("(%li) Leave thread func...", threadId());
            break;
        }
        const TimePoint oNow = now();
        if (oNow < oDeadline)
        {
            continue;
        }
        LOG_DEBUG("(%li) Timeout => do action...", threadId());
        if (exec())
        {
            LOG_DEBUG("Action succeeded after %d retries.", iCount + 1);
            break;
        }
        oDeadline = later(oNow, m_iPeriodSec);
        LOG_DEBUG("Action failed, schedule next try in %d seconds", m_iPeriodSec);
        m_iPeriodSec = doubledInterval(m_iPeriodSec);
        ++iCount;
    }
    complete();
}

void Scheduler::complete()
{
    LOG_DEBUG("(%li) Thread complete", threadId());
    m_bFinished.store(true);
}

// An exception leaving a thread would end the process; a worker that ended early is simply reaped by the owner.
void Scheduler::task(Scheduler* a_pScheduler)
{
    try
    {
        a_pScheduler->run();
    }
    catch (const std::exception& oException)
    {
        a_pScheduler->logFailure(oException.what());
        a_pScheduler->complete();
    }
}

void Scheduler::logFailure(const char* a_pReason) const
{
    LOG_ERROR("Failed to execute action: '%s'", a_pReason);
}

} // namespace quorvad
