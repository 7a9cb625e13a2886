#pragma once

#include "korrin/net/eventdispatcher.h"
#include "netifwatch/debounce.h"
#include "netifwatch/filewatch.h"
#include "netifwatch/kernelevents.h"
#include "netifwatch/options.h"
#include "netifwatch/reconciler.h"
#include "platform/base/eventloop.h"
#include "vadro/cfg/notificationhandler.h"

#include <functional>
#include <optional>

namespace netifwatch
{

/// Looks at the machine whenever something may have changed, and brings the tables into line. Hints come from the
/// kernel, from the files with DNS servers and from the service (somebody else's change, or a connection that is back);
/// each look asks everything anew.
///
/// What it wrote stays when it ends: readers would take a deleted row for the end of the interface, and a restart must
/// not make them act. The next one writes what changed in between.
class Watcher : public vadro::cfg::IConfigHandler
{
public:
    /// Borrows dispatcher and options. Throws std::system_error when the kernel refuses what is needed.
    Watcher(korrin::net::EventDispatcher& a_oDispatcher, const Options& a_oOptions);

    /// Connects, blocking for at most a minute (two seconds to write once; a wakeUp() of the dispatcher ends that
    /// wait), and follows until a_oStop returns true, or writes once. Throws std::runtime_error when the service cannot
    /// be reached at first, or when writing once failed.
    void run(const std::function<bool()>& a_oStop);

    void getTableNames(std::list<std::string>& a_oNames) override;
    bool loadFromConfig(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable) override;
    void onServiceEvent() override;

private:
    using Clock = Debounce::Clock;

    void connect();
    void onHint();
    void lookBy(Clock::time_point a_oTime);
    void setTimer();
    void look();
    [[nodiscard]] Reconciler::Outcome reconcile();
    void reportProblems(const MachineState& a_oState);
    void settle(Reconciler::Outcome a_eOutcome);
    void reportFailure();

    korrin::net::EventDispatcher& m_oDispatcher;
    const Options& m_oOptions;
    vadro::cfg::NotificationHandler m_oNotifications;
    Reconciler m_oReconciler;
    platform::Timer m_oTimer;
    KernelEvents m_oEvents;
    std::optional<FileWatch> m_oFiles;

    Debounce m_oQuietTime;
    std::optional<Clock::time_point> m_oHintDue; // look then because of hints,
    std::optional<Clock::time_point> m_oDue;     // or then for another reason
    bool m_bDue = false;                         // the time has come

    bool m_bFresh = true;                   // the connection is new, so nothing is known of the rows
    std::optional<MachineState> m_oSettled; // the state that the tables are known to tell
    std::vector<std::string> m_oProblems;   // of the last look at the machine
    std::string m_strFailure;               // of the last look
    std::string m_strReported;              // the failure that was told last
    unsigned m_uiBusy = 0;                  // times in a row that somebody else had write access
    std::uint32_t m_iModuleId;
};

} // namespace netifwatch
