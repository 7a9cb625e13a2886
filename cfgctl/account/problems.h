#pragma once

#include "actions/updateurl.h"
#include "cfgctl/database.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// One thing that speaks against an account's updates.
struct Problem
{
    bool m_bStops;          ///< no update goes out; else one goes out that may not do what is wanted
    std::string m_strWhat;  ///< a sentence without full stop
    std::string m_strNext;  ///< what to do about it
    std::string m_strBrief; ///< what the account waits for, in a few words; of one that stops
    std::string m_strCode;  ///< the stable word for programs: "no-daemon", "interface-missing", ...
};

// Codes that are also asked for.
constexpr const char* g_pDisabledCode = "disabled";
constexpr const char* g_pNoDaemonCode = "no-daemon";
constexpr const char* g_pNoWatcherCode = "no-watcher";
constexpr const char* g_pAddressCode = "address-differs";
constexpr const char* g_pNotMonitoredCode = "not-monitored";
constexpr const char* g_pSignInCode = "sign-in-refused";

/// All of them: those that stop updates first, then in the daemon's own order.
/// Pure.
[[nodiscard]] std::vector<Problem> findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

/// Whether one of those that findProblems found keeps updates from going out. Pure.
[[nodiscard]] bool isStopped(const std::vector<Problem>& a_oProblems);

/// Whether it is one that tells of a missing watcher, too, if that is its cause. Pure.
[[nodiscard]] bool tellsOfWatcher(const Problem& a_oProblem);

/// "what; what to do", for a warning. Pure.
[[nodiscard]] std::string tellProblem(const Problem& a_oProblem);

/// What the daemon would fill into the account's URL now. Pure.
[[nodiscard]] quorvad::UrlValues urlValuesOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

/// The DNS servers of the account's interface as the daemon would join them: "A,B", empty when there is none. Pure.
[[nodiscard]] std::string nameserversOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

} // namespace cfgctl
