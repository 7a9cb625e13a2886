#pragma once

#include "cfgctl/account/next.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/database.h"
#include "cfgctl/table.h"

#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace cfgctl
{

/// The word for the outcome of an account that was not tried yet; all others are nameOutcome's.
constexpr const char* g_pNever = "never";

/// The colour of one of nameOutcome's words or of "never". Pure.
[[nodiscard]] Style styleOfOutcome(const std::string& a_strOutcome);

/// The state of one account.
struct AccountState
{
    /// Id, Hostname, ServiceType, Interface, InterfaceUp (null when the interface is not monitored), Addr, Addr6,
    /// Enable, Outcome (nameOutcome's words or "never"), Timestamp, AgeSeconds, ResponseCode, Response of the account's
    /// newest log row, Next (nameNext's words), NextSeconds; null where there is nothing.
    korrin::ValueList m_oFacts;
    Next m_oNext;
    std::vector<Problem> m_oProblems;
};

/// Pure.
[[nodiscard]] AccountState
makeState(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow);
/// One per account. Pure.
[[nodiscard]] std::vector<AccountState> makeStates(const StatusSources& a_oSources, std::time_t a_iNow);

/// "updated 3 minutes ago", "not tried yet". Pure.
[[nodiscard]] std::string describeLast(const AccountState& a_oState);

/// Their table. Pure.
[[nodiscard]] Table makeStatusTable(const std::vector<AccountState>& a_oStates);

/// Ready, and Problems with Code, Stops, What and Cure. Pure.
void addProblems(nlohmann::ordered_json& a_oJson, const std::vector<Problem>& a_oProblems);
/// The facts with Ready and Problems, indented. Pure.
[[nodiscard]] std::string statesToJson(const std::vector<AccountState>& a_oStates);

/// "account 1", "accounts 1, 2". Pure.
[[nodiscard]] std::string nameAccounts(const std::vector<std::string>& a_oIds);

/// What the owner has to know beside the table: whatever stops enabled accounts, a watcher that is missing, a sign-in
/// that was refused; each once, however many accounts it concerns. Pure.
[[nodiscard]] std::vector<std::string> findWarnings(const std::vector<AccountState>& a_oStates);

} // namespace cfgctl
