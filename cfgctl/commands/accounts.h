#pragma once

#include "cfgctl/account/provider.h"
#include "cfgctl/database.h"

#include <string>
#include <vector>

namespace cfgctl
{

inline constexpr char g_acNoAccounts[] =
    "No accounts yet. Add one with: cfgctl account add --provider NAME --host HOST --interface NAME";

/// The accounts with these Ids, in this order. Throws Failure for an unknown Id.
[[nodiscard]] Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds);

/// "account 1 (home.example.net)". Pure.
[[nodiscard]] std::string nameAccount(const korrin::ValueList& a_oRow);

/// The providers as loadProviders gives them; faults of the files go to standard error.
[[nodiscard]] Providers readProviders(const std::string& a_strMore);

} // namespace cfgctl
