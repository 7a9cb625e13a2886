#pragma once

#include "cfgctl/database.h"

#include <ctime>
#include <optional>
#include <string>

// What the service tells of its clients and tables. One that is not ours may tell nothing.
namespace cfgctl
{

/// The names by which the programs introduce themselves.
constexpr const char* g_pDaemon = "quorvad";
constexpr const char* g_pWatcher = "netifwatch";

/// Whether a program of that name is connected; nothing if the service does not tell. Pure.
[[nodiscard]] std::optional<bool> isConnected(const StatusSources& a_oSources, const std::string& a_strProgram);

/// The command that starts a program on this machine.
[[nodiscard]] std::string startCommand(const std::string& a_strProgram);

/// Something that makes the daemon send an account again.
struct Trigger
{
    std::time_t m_iTime;  ///< when it happened
    std::time_t m_iNoted; ///< when the daemon took note of it, at the latest
};

/// The last one that surely concerns the account. Nothing if the service does not tell, or no daemon is connected.
/// Pure.
[[nodiscard]] std::optional<Trigger>
findTrigger(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow);

/// The last change that may concern it, or something else in the same table. Pure.
[[nodiscard]] std::optional<Trigger>
findPossibleTrigger(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow);

} // namespace cfgctl
