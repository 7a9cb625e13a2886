#pragma once

#include "cfgctl/account/provider.h"
#include "korrin/valuelist.h"

#include <optional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What a person wants to be different in an account that exists.
struct AccountChange
{
    std::optional<std::string> m_strHost;
    std::optional<std::string> m_strUser;
    std::optional<std::string> m_strInterface;
    std::optional<int> m_iRetry;
    std::optional<std::string> m_strExpect;
    std::optional<std::string> m_strUnchanged;
};

/// The columns of a row of DynDns that come to differ, with their new values, and what the person should know.
struct ChangePlan
{
    korrin::ValueList m_oColumns;
    std::vector<std::string> m_oNotes;
};

/// By the same rules as planAccount: a host or a user name that the provider's template takes into the URL is replaced
/// there as well. The rest of the row is left alone, even where planAccount would refuse it. Pure. Throws Failure that
/// says what cannot be used and why.
/// @param a_pProvider the row's provider as recogniseProvider finds it, or null
[[nodiscard]] ChangePlan
planChange(const korrin::ValueList& a_oRow, const Provider* a_pProvider, const AccountChange& a_oChange);

} // namespace cfgctl
