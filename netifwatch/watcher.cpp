#include "netifwatch/watcher.h"

#include "netifwatch/machine.h"
#include "platform/common/log.h"

#include <algorithm>
#include <stdexcept>

namespace netifwatch
{

namespace
{

constexpr char s_acLogFile[] = "watcher";

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds s_oQuiet = 200ms;
constexpr std::chrono::milliseconds s_oLongest = 2s;
// Two programs that each correct the same row must not keep the machine busy.
constexpr std::chrono::milliseconds s_oAfterOthers = 2s;
constexpr std::chrono::milliseconds s_oAskAgain = 250ms;
constexpr std::chrono::milliseconds s_oAfterFailure = 10s;
constexpr unsigned s_uiBusyBeforeWarning = 240; // a minute
constexpr unsigned s_uiBusyBeforeEnd = 40;      // of one who writes once: ten seconds

constexpr unsigned s_uiConnectSec = 60;
constexpr unsigned s_uiConnectOnceSec = 2;
constexpr unsigned s_uiRetryMs = 100; // soon back: a service that was restarted knows no interface
constexpr unsigned s_uiWaitMs = 3600000;

/// Where earlier versions noted their rows: by option, else by default or by the start script for procd. They are left
/// alone along with DNSClientServer.
std::vector<std::string> earlierNotes(const Options& a_oOptions)
{
    if (!a_oOptions.m_bDns)
    {
        return {};
    }
    if (!a_oOptions.m_strState.empty())
    {
        return {a_oOptions.m_strState};
    }
    return {"/var/lib/netifwatch/dns-rows", "/etc/quorvad/netifwatch/dns-rows"};
}

} // namespace

Watcher::Watcher(korrin::net::EventDispatcher& a_oDispatcher, const Options& a_oOptions)
    : m_oDispatcher(a_oDispatcher), m_oOptions(a_oOptions),
      m_oNotifications(a_oOptions.m_strSocket.c_str(),
                       a_oDispatcher,
                       "netifwatch",
                       false,
                       a_oOptions.m_bOnce ? s_uiConnectOnceSec : s_uiConnectSec,
                       s_uiRetryMs,
                       !a_oOptions.m_bOnce,
                       false),
      m_oReconciler(m_oNotifications.getConfigClient(), a_oOptions.m_oInterfaces, earlierNotes(a_oOptions)),
      m_oTimer(a_oDispatcher.getEventLoop(), [this] { m_bDue = true; }),
      m_oEvents(a_oDispatcher.getEventLoop(), a_oOptions.m_bDns, a_oOptions.m_iEventBuffer, [this] { onHint(); }),
      m_oQuietTime(s_oQuiet, s_oLongest), m_iModuleId(VADRO_Sysloglevel_registerModul("netifwatch"))
{
    if (a_oOptions.m_bDns)
    {
        m_oFiles.emplace(a_oDispatcher.getEventLoop(),
                         std::vector<std::string>{a_oOptions.m_strResolvConf, g_pResolvedFile},
                         [this] { onHint(); });
    }
}

void Watcher::run(const std::function<bool()>& a_oStop)
{
    connect();
    while (!a_oStop())
    {
        m_oNotifications.process();
        if (m_bDue)
        {
            look();
        }
        if (m_oOptions.m_bOnce && m_oSettled)
        {
            return;
        }
        m_oDispatcher.handleEvents(s_uiWaitMs);
    }
}

void Watcher::connect()
{
    m_oNotifications.registerConfigHandler(this);
    m_oNotifications.deliverAllOnReturn(); // it looks at the machine then
    try
    {
        m_oNotifications.initialize();
    }
    catch (const std::exception& oError)
    {
        const std::string strOption =
            m_oOptions.m_strSocket == Options().m_strSocket ? "" : " --socket " + m_oOptions.m_strSocket;
        throw std::runtime_error(std::string(oError.what()) +
                                 ". Is the service running? Start it with 'systemctl start cfgserver' or 'cfgserver" +
                                 strOption + "'");
    }
}

// Others' rows of DNSClientServer decide whose an interface's servers are; the status tables are corrected.
void Watcher::getTableNames(std::list<std::string>& a_oNames)
{
    a_oNames.emplace_back(dbm::Table_StatusNetifWatch);
    a_oNames.emplace_back(dbm::Table_StatusNetIfIPv6Addresses);
    if (m_oOptions.m_bDns)
    {
        a_oNames.emplace_back(dbm::Table_DNSClientServer);
    }
}

bool Watcher::loadFromConfig(vadro::cfg::common::IConfigClient&, const std::string&)
{
    m_oSettled.reset();
    lookBy(Clock::now() + (m_bFresh ? 0ms : s_oAfterOthers));
    return true;
}

void Watcher::onServiceEvent()
{
    m_bFresh = true;
    m_oSettled.reset();
}

void Watcher::onHint()
{
    m_oHintDue = m_oQuietTime.note(Clock::now());
    setTimer();
}

void Watcher::lookBy(Clock::time_point a_oTime)
{
    m_oDue = m_oDue ? std::min(*m_oDue, a_oTime) : a_oTime;
    setTimer();
}

void Watcher::setTimer()
{
    const auto oNever = Clock::time_point::max();
    const auto oNext = std::min(m_oHintDue.value_or(oNever), m_oDue.value_or(oNever));
    m_oTimer.start(std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(oNext - Clock::now())));
}

void Watcher::look()
{
    m_bDue = false;
    m_oHintDue.reset();
    m_oDue.reset();
    m_oTimer.stop();
    m_oQuietTime.reset();
    settle(reconcile());
}

Reconciler::Outcome Watcher::reconcile()
{
    try
    {
        const MachineState oState = readMachine(m_oOptions);
        LOG_DEBUG("Looked at %zu interfaces.", oState.m_oInterfaces.size());
        reportProblems(oState);
        if (m_oSettled && *m_oSettled == oState)
        {
            return Reconciler::Outcome::Unchanged;
        }
        m_oSettled.reset();
        const Reconciler::Outcome eOutcome = m_oReconciler.reconcile(oState);
        if (eOutcome == Reconciler::Outcome::Unchanged || eOutcome == Reconciler::Outcome::Written)
        {
            m_oSettled = oState;
        }
        m_strFailure = m_oReconciler.getFailure();
        return eOutcome;
    }
    catch (const std::exception& oError)
    {
        m_strFailure = oError.what();
        return Reconciler::Outcome::Failed;
    }
}

/// Once, until they were gone for a look.
void Watcher::reportProblems(const MachineState& a_oState)
{
    for (const std::string& strProblem : a_oState.m_oProblems)
    {
        if (std::find(m_oProblems.begin(), m_oProblems.end(), strProblem) == m_oProblems.end())
        {
            LOG_WARNING("%s", strProblem.c_str());
        }
    }
    m_oProblems = a_oState.m_oProblems;
}

void Watcher::settle(Reconciler::Outcome a_eOutcome)
{
    m_uiBusy = a_eOutcome == Reconciler::Outcome::Busy ? m_uiBusy + 1 : 0;
    switch (a_eOutcome)
    {
    case Reconciler::Outcome::Unchanged:
    case Reconciler::Outcome::Written:
        m_bFresh = false;
        m_strReported.clear();
        return;
    case Reconciler::Outcome::Busy:
        if (m_uiBusy == s_uiBusyBeforeWarning || (m_oOptions.m_bOnce && m_uiBusy == s_uiBusyBeforeEnd))
        {
            reportFailure();
        }
        lookBy(Clock::now() + s_oAskAgain);
        return;
    case Reconciler::Outcome::Failed:
        reportFailure();
        lookBy(Clock::now() + s_oAfterFailure);
    }
}

void Watcher::reportFailure()
{
    if (m_oOptions.m_bOnce)
    {
        throw std::runtime_error(m_strFailure);
    }
    std::string strVersion;
    const bool bConnected = m_oNotifications.getConfigClient().getserviceversion(strVersion) == 0;
    if (bConnected && m_strFailure != m_strReported) // a lost connection was told of by the client
    {
        m_strReported = m_strFailure;
        LOG_WARNING("Cannot bring the tables up to date: %s (retrying until it works)", m_strFailure.c_str());
    }
}

} // namespace netifwatch
