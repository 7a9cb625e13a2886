#pragma once

#include "cfgctl/account/problems.h"
#include "cfgctl/database.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What happens next with an account. The order counts: nameNext's names are in it.
enum class ENext
{
    Disabled,
    NoDaemon,   ///< nothing is sent
    Impossible, ///< nothing is sent: settings or interface stand against it
    Due,        ///< after a change of settings or a start of the daemon
    Possible,   ///< an interface changed, perhaps the account's
    Awaited,    ///< sent or about to be sent; the outcome is not written yet
    Retrying,
    Exhausted, ///< failed, and no try is left
    Idle,      ///< succeeded; nothing until something changes
    Overdue    ///< no outcome, although the daemon had the time
};

struct Next
{
    ENext m_eState;
    /// Due, Possible and Retrying: to the latest time of it. Awaited: to the latest time of the outcome. Overdue: since
    /// then. Otherwise, where the tables do not tell, and when a Possible update may have been sent: nothing.
    std::optional<std::time_t> m_oSeconds;
    std::string m_strCause;   ///< of Impossible, a few words
    bool m_bOutdated = false; ///< of Impossible: what is due goes out, but with an address that has changed
};

/// Follows from findProblems' result, the attempts so far and what the service tells of daemon and tables; from the
/// attempts alone where it tells nothing. Pure.
[[nodiscard]] Next findNext(const korrin::ValueList& a_oAccount,
                            const StatusSources& a_oSources,
                            const std::vector<Problem>& a_oProblems,
                            std::time_t a_iNow);

/// The one word for it, for programs: "disabled", "no-daemon", "impossible", "due", "possible", "awaited", "retrying",
/// "exhausted", "idle" or "overdue".
[[nodiscard]] const char* nameNext(ENext a_eState);

/// For people: a line of a table, the same in at most 15 columns, and a sentence with full stop. Pure.
[[nodiscard]] std::string describeNext(const Next& a_oNext);
[[nodiscard]] std::string describeNextBriefly(const Next& a_oNext);
[[nodiscard]] std::string tellNext(const Next& a_oNext);

} // namespace cfgctl
