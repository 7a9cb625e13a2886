#pragma once

#include "cfgctl/arguments.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <functional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What to do with the changes that are told.
struct Follower
{
    std::vector<std::string> m_oTables;
    /// Once the connection stands, for every table, and then for each change of one, with the connection to read by.
    std::function<void(vadro::cfg::common::IConfigClient&, const std::string& a_strTable, bool a_bFirst)> m_oOnChange;
    std::function<bool()> m_oIsDone;
};

/// Follows the tables until a stop signal, m_oIsDone or the end of Options::m_uiTimeoutSec, over a connection that is
/// rebuilt when it breaks. True when a signal ended it. Once per process: it leaves signal handlers behind. What
/// m_oOnChange throws ends it.
bool follow(const Options& a_oOptions, Follower a_oFollower);

} // namespace cfgctl
