#include "cfgctl/commands/watch.h"

#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "platform/common/deadline.h"
#include "platform/common/localtime.h"
#include "platform/common/stopsignals.h"
#include "platform/common/values.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>

namespace cfgctl
{

namespace
{

constexpr int s_iLongestWaitMs = 60000;

/// Passes deliveries on. The first one, of any table, only means that the connection is established.
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

    /// Returns after how many milliseconds it wants to be called again.
    [[nodiscard]] int work() const { return m_oFollower.m_oWork ? m_oFollower.m_oWork() : s_iLongestWaitMs; }
    [[nodiscard]] bool isDone() const { return m_oFollower.m_oIsDone && m_oFollower.m_oIsDone(); }
    void setSession(Session* a_pSession) { m_pSession = a_pSession; }

private:
    Follower m_oFollower;
    bool m_bStarted = false;
    Session* m_pSession = nullptr; // whose process() calls this
};

std::vector<std::string> chooseTables(const Options& a_oOptions)
{
    Session oSession(a_oOptions.m_strSocket);
    Database oDatabase(oSession.getClient());
    for (const std::string& strTable : a_oOptions.m_oTables)
    {
        static_cast<void>(oDatabase.getColumns(strTable)); // throws for an unknown one
    }
    return a_oOptions.m_oTables.empty() ? oDatabase.getTables() : a_oOptions.m_oTables;
}

void printChange(const std::string& a_strTable, bool a_bJson)
{
    using platform::text;
    const std::string strTime = platform::formatLocalTime(std::time(nullptr), platform::g_acIsoFormat);
    writeOut(a_bJson ? rowToJson(platform::row({{"Time", text(strTime)}, {"Table", text(a_strTable)}}))
                     : strTime + "  " + a_strTable + "\n");
}

} // namespace

bool follow(const Options& a_oOptions, Follower a_oFollower)
{
    std::optional<platform::Deadline> oDeadline;
    if (a_oOptions.m_uiTimeoutSec > 0)
    {
        oDeadline.emplace(std::chrono::seconds(a_oOptions.m_uiTimeoutSec));
    }
    Deliveries oDeliveries(std::move(a_oFollower));
    Session oSession(a_oOptions.m_strSocket, &oDeliveries);
    oDeliveries.setSession(&oSession);
    const platform::StopSignals oSignals(oSession.getDispatcher());
    while (oSignals.getStopSignal() == 0 && !oDeliveries.isDone() && !(oDeadline && oDeadline->hasPassed()))
    {
        oSession.process();
        const int iWorkMs = oDeliveries.work();
        if (!oDeliveries.isDone())
        {
            const int iLeftMs = oDeadline ? oDeadline->getRemainingMs() : s_iLongestWaitMs;
            const int iWaitMs = std::min({iLeftMs, iWorkMs, s_iLongestWaitMs});
            oSession.getDispatcher().handleEvents(static_cast<unsigned>(iWaitMs));
        }
    }
    return oSignals.getStopSignal() != 0;
}

void runWatch(const Options& a_oOptions)
{
    if (!a_oOptions.m_oExec.empty())
    {
        return watchOutcomes(a_oOptions);
    }
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
    require(bSignal || uiLines >= a_oOptions.m_uiCount,
            "Only " + std::to_string(uiLines) + " of " + std::to_string(a_oOptions.m_uiCount) +
                " changes came within " + std::to_string(a_oOptions.m_uiTimeoutSec) + " s");
}

} // namespace cfgctl
