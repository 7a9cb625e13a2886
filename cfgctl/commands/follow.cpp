#include "cfgctl/commands/follow.h"

#include "cfgctl/output.h"
#include "cfgctl/session.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>

namespace cfgctl
{

namespace
{

using Clock = std::chrono::steady_clock;

std::atomic<korrin::net::EventDispatcher*> s_pDispatcher{nullptr};
std::atomic<bool> s_bStop{false};
static_assert(std::atomic<korrin::net::EventDispatcher*>::is_always_lock_free &&
              std::atomic<bool>::is_always_lock_free);

extern "C" void onStopSignal(int)
{
    s_bStop = true;
    if (korrin::net::EventDispatcher* pDispatcher = s_pDispatcher.load())
    {
        pDispatcher->wakeUp();
    }
}

void installStopSignals()
{
    struct sigaction oAction = {};
    oAction.sa_handler = onStopSignal;
    sigaction(SIGINT, &oAction, nullptr);
    sigaction(SIGTERM, &oAction, nullptr);
}

/// Hands the deliveries on. The first one, of whatever table, only says that the connection stands.
class Deliveries : public vadro::cfg::IConfigHandler
{
public:
    explicit Deliveries(Follower a_oFollower) : m_oFollower(std::move(a_oFollower)) {}

    void getTableNames(std::list<std::string>& a_oNames) override
    {
        a_oNames.insert(a_oNames.end(), m_oFollower.m_oTables.begin(), m_oFollower.m_oTables.end());
    }
    bool loadFromConfig(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable) override
    {
        if (!isDone())
        {
            m_oFollower.m_oOnChange(a_oClient, a_strTable, !m_bStarted);
        }
        m_bStarted = true;
        return true;
    }
    void onServiceEvent() override
    {
        std::string strVersion;
        const bool bUp = m_pSession != nullptr && m_pSession->getClient().getserviceversion(strVersion) == 0;
        complain(bUp ? "The configuration service is back; any table may have changed"
                     : "The connection to the configuration service is lost; waiting for it");
    }

    [[nodiscard]] bool isDone() const { return m_oFollower.m_oIsDone && m_oFollower.m_oIsDone(); }
    void setSession(Session* a_pSession) { m_pSession = a_pSession; }

private:
    Follower m_oFollower;
    bool m_bStarted = false;
    Session* m_pSession = nullptr; // the one that calls this
};

unsigned millisecondsUntil(Clock::time_point a_oDeadline)
{
    const auto oLeft = std::chrono::ceil<std::chrono::milliseconds>(a_oDeadline - Clock::now());
    return static_cast<unsigned>(std::clamp<std::int64_t>(oLeft.count(), 0, 60000));
}

} // namespace

bool follow(const Options& a_oOptions, Follower a_oFollower)
{
    const bool bLimited = a_oOptions.m_uiTimeoutSec > 0;
    const auto oDeadline =
        Clock::now() + (bLimited ? std::chrono::seconds(a_oOptions.m_uiTimeoutSec) : std::chrono::hours(1));
    Deliveries oDeliveries(std::move(a_oFollower));
    Session oSession(a_oOptions.m_strSocket, oDeliveries);
    oDeliveries.setSession(&oSession);
    s_pDispatcher = &oSession.getDispatcher();
    installStopSignals();
    while (!s_bStop && !oDeliveries.isDone() && (!bLimited || Clock::now() < oDeadline))
    {
        oSession.process();
        if (!oDeliveries.isDone())
        {
            oSession.getDispatcher().handleEvents(bLimited ? millisecondsUntil(oDeadline) : 60000);
        }
    }
    s_pDispatcher = nullptr;
    return s_bStop;
}

} // namespace cfgctl
