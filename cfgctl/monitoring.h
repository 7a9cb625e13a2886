#pragma once

#include "cfgctl/statusrows.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

// The state of everything for programs that watch it. Nothing secret is in it. Pure.
namespace cfgctl
{

/// The numbers are exit statuses.
enum class EHealth
{
    Well = 0,
    Failing = 1, ///< an enabled account failed, is overdue or cannot be sent
    Missing = 2  ///< service, daemon or watcher
};

struct Health
{
    EHealth m_eHealth;
    std::string m_strText; ///< one line that begins with "well: ", "failing: " or "missing: "
};

/// @param a_oMaxAge an account whose last success is older, in seconds, counts as failing
[[nodiscard]] Health judgeHealth(const std::vector<AccountState>& a_oStates,
                                 const StatusSources& a_oSources,
                                 const std::optional<std::time_t>& a_oMaxAge,
                                 std::time_t a_iNow);
/// While the service cannot be reached.
[[nodiscard]] Health judgeWithoutService(const std::string& a_strReason);

/// In Prometheus' text format.
[[nodiscard]] std::string makeMetrics(const std::vector<AccountState>& a_oStates, const StatusSources& a_oSources);
[[nodiscard]] std::string makeMetricsWithoutService();

} // namespace cfgctl
