#pragma once

#include "cfgctl/account/sources.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// What the kernel says of an interface, which the daemon asks before each HTTPS update.
enum class InterfaceState
{
    Unknown, ///< the list of interfaces could not be read, or nobody asked
    Missing,
    Down, ///< not up, or without carrier
    Running
};

/// One thing that speaks against an account's updates.
struct Problem
{
    bool m_bStops;          ///< no update goes out; else one goes out that may not do what is wanted
    std::string m_strWhat;  ///< a sentence without full stop
    std::string m_strNext;  ///< what to do about it
    std::string m_strBrief; ///< what the account waits for, in a few words; of one that stops
};

/// All of them, those that come first in the daemon's own order first. Pure.
[[nodiscard]] std::vector<Problem>
findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, InterfaceState a_eState);

/// Asks the kernel; sends nothing.
[[nodiscard]] InterfaceState readInterfaceState(const std::string& a_strInterface);

} // namespace cfgctl
