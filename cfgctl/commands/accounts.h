#pragma once

#include "cfgctl/account/provider.h"
#include "cfgctl/arguments.h"
#include "cfgctl/database.h"

#include <string>
#include <vector>

namespace cfgctl
{

inline constexpr char g_acNoAccounts[] =
    "No accounts yet. Add one with: cfgctl account add --provider NAME --host HOST --interface NAME";

/// The accounts with these Ids, in this order. Throws Failure for an unknown Id.
[[nodiscard]] Rows readAccounts(Database& a_oDatabase, const std::vector<int>& a_oIds);

/// The account with this Id, or the only one with this host. Throws Failure if there is none or more than one.
[[nodiscard]] korrin::ValueList findAccount(Database& a_oDatabase, const std::string& a_strIdOrHost);

/// Warns of these, and of what keeps the account from doing what is wanted, but not that it is disabled.
void warnAbout(const std::vector<std::string>& a_oWarnings,
               const korrin::ValueList& a_oRow,
               const StatusSources& a_oSources);

/// A line that tells what happens next with an account of these tables.
[[nodiscard]] std::string tellNextOf(const korrin::ValueList& a_oRow, const StatusSources& a_oSources);

/// Whether two rows update the same host at the same server. Pure.
[[nodiscard]] bool isSameName(const korrin::ValueList& a_oRow, const korrin::ValueList& a_oOther);

/// What is in doubt about a provider that is not sure. Pure.
[[nodiscard]] std::string describeDoubt(const Provider& a_oProvider);

/// One line each, or more where the terminal is narrow. Pure.
[[nodiscard]] std::string joinLines(const std::vector<std::string>& a_oLines, const Layout& a_oLayout);

/// "account 1 (home.example.net)". Pure.
[[nodiscard]] std::string nameAccount(const korrin::ValueList& a_oRow);
/// The same for output that is not escaped later. Pure.
[[nodiscard]] std::string showAccount(const korrin::ValueList& a_oRow);

/// Writes the text of a command that changed accounts, given their Ids, and the other accounts that the daemon sends
/// again because of it. With JSON that is written instead, and the others are a warning behind it. Throws Failure.
void writeChange(Database& a_oDatabase,
                 const Options& a_oOptions,
                 const std::vector<std::string>& a_oChanged,
                 const std::string& a_strText,
                 const std::string& a_strJson = {});

/// The providers as loadProviders gives them; faults of the files go to standard error.
[[nodiscard]] Providers readProviders(const std::string& a_strMore);

} // namespace cfgctl
