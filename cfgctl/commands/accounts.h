#pragma once

#include "cfgctl/account/provider.h"
#include "cfgctl/database.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// The accounts with these Ids, in this order. Throws Failure for an Id that there is not.
[[nodiscard]] Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds);

/// "account 1 (home.example.net)". Pure.
[[nodiscard]] std::string nameAccount(const korrin::ValueList& a_oRow);

/// The file's providers, faults of files complained about on standard error.
[[nodiscard]] Providers readProviders(const std::string& a_strMore);

/// The provider's name where it is known, else its server. Pure.
[[nodiscard]] std::string nameProvider(const Providers& a_oProviders, const korrin::ValueList& a_oRow);

} // namespace cfgctl
