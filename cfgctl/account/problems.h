#pragma once

#include "actions/interfacestate.h"
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
};

/// All of them: those that stop updates first, then in the daemon's own order.
/// @param a_eState what the kernel says of the account's interface; eUnknown if it was not asked
[[nodiscard]] std::vector<Problem>
findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, quorvad::EInterfaceState a_eState);

/// Whether one of those that findProblems found keeps updates from going out. Pure.
[[nodiscard]] bool isStopped(const std::vector<Problem>& a_oProblems);

/// What the daemon would fill into the account's URL now. Pure.
[[nodiscard]] quorvad::UrlValues urlValuesOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

/// The DNS servers of the account's interface as the daemon would join them: "A,B", empty when there is none. Pure.
[[nodiscard]] std::string nameserversOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources);

} // namespace cfgctl
