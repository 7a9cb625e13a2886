#include "cfgctl/commands/watch.h"

#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "platform/common/localtime.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
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

std::vector<std::string> chooseTables(const Options& a_oOptions)
{
    Session oSession(a_oOptions.m_strSocket);
    Database oDatabase(oSession.getClient());
    for (const std::string& strTable : a_oOptions.m_oTables)
    {
        static_cast<void>(oDatabase.getColumns(strTable)); // an unknown one fails here
    }
    return a_oOptions.m_oTables.empty() ? oDatabase.getTables() : a_oOptions.m_oTables;
}

void printChange(const std::string& a_strTable, bool a_bJson)
{
    const std::string strTime = platform::formatLocalTime(std::time(nullptr), platform::g_acIsoFormat);
    if (!a_bJson)
    {
        writeOut(strTime + "  " + a_strTable + "\n");
        return;
    }
    korrin::ValueList oRow;
    oRow.add("Time", korrin::Value(korrin::eValueText, strTime));
    oRow.add("Table", korrin::Value(korrin::eValueText, a_strTable));
    writeOut(rowToJson(oRow) + "\n");
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

void runWatch(const Options& a_oOptions)
{
    unsigned uiLines = 0;
    Follower oFollower;
    oFollower.m_oTables = chooseTables(a_oOptions);
    oFollower.m_oIsDone = [&] { return a_oOptions.m_uiCount > 0 && uiLines >= a_oOptions.m_uiCount; };
    oFollower.m_oOnChange = [&](vadro::cfg::common::IConfigClient&, const std::string& a_strTable, bool a_bFirst)
    {
        if (!a_bFirst)
        {
            printChange(a_strTable, a_oOptions.m_bJson);
            ++uiLines;
        }
    };
    const bool bSignal = follow(a_oOptions, oFollower);
    if (!bSignal && uiLines < a_oOptions.m_uiCount)
    {
        throw Failure("Only " + std::to_string(uiLines) + " of " + std::to_string(a_oOptions.m_uiCount) +
                      " changes came within " + std::to_string(a_oOptions.m_uiTimeoutSec) + " s");
    }
}

} // namespace cfgctl
