#pragma once

#include "cfgctl/arguments.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <functional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What to watch, and what to do with each change.
struct Follower
{
    std::vector<std::string> m_oTables;
    /// Called for the first delivery after connecting (a_bFirst), which tells no change, then for each changed table.
    std::function<void(vadro::cfg::common::IConfigClient&, const std::string& a_strTable, bool a_bFirst)> m_oOnChange;
    std::function<bool()> m_oIsDone;
    /// Called at every turn of the loop, unless empty; returns after how many milliseconds it wants to be called again.
    std::function<int()> m_oWork{};
};

/// Follows the tables until a stop signal, m_oIsDone or the end of Options::m_uiTimeoutSec; a lost connection is
/// rebuilt. True if a signal ended it. Once per process: signal handlers stay installed. Throws what m_oOnChange
/// throws.
bool follow(const Options& a_oOptions, Follower a_oFollower);

/// runWatch with --exec: runs Options::m_oExec for each new outcome.
void watchOutcomes(const Options& a_oOptions);

} // namespace cfgctl
