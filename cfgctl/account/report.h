#pragma once

#include "cfgctl/account/problems.h"
#include "cfgctl/account/provider.h"

#include <ctime>
#include <string>
#include <vector>

namespace cfgctl
{

struct Fact
{
    std::string m_strKey; ///< for programs
    std::string m_strName;
    std::string m_strText;
};

/// All that is known of an account's next update.
struct AccountReport
{
    std::vector<Fact> m_oFacts; ///< in the order to show them
    std::vector<Problem> m_oProblems;

    /// Nothing keeps an update from going out.
    [[nodiscard]] bool isReady() const { return m_oProblems.empty() || !m_oProblems.front().m_bStops; }
};

/// @param a_pProvider the account's, null when it is in no file
/// @param a_bShowSecrets false: the password, and what may be one in the URL, is shown as g_strHidden
[[nodiscard]] AccountReport makeReport(const korrin::ValueList& a_oAccount,
                                       const StatusSources& a_oSources,
                                       const Provider* a_pProvider,
                                       InterfaceState a_eState,
                                       bool a_bShowSecrets,
                                       std::time_t a_iNow);

/// The URL as the daemon would fill it in. What the provider's own template says is no secret and stays. Pure.
[[nodiscard]] std::string resolveUrl(const korrin::ValueList& a_oAccount,
                                     const StatusSources& a_oSources,
                                     const Provider* a_pProvider,
                                     bool a_bShowSecrets);

} // namespace cfgctl
