#pragma once

#include "cfgctl/arguments.h"
#include "cfgctl/database.h"

#include <string>

namespace cfgctl
{

// One function per command. Each does the whole command and returns what goes to standard output, empty or ending with
// a line end; nothing is printed before everything succeeded. All throw Failure (exit status 1), and UsageError where
// the arguments contradict each other. The text of a command that only reads depends on Options::m_oLayout.

[[nodiscard]] std::string runShow(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAdd(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runSet(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runDelete(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runTables(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runExport(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runImport(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runStatus(Database& a_oDatabase, const Options& a_oOptions);

[[nodiscard]] std::string runAccountAdd(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountList(Database& a_oDatabase, const Options& a_oOptions);
/// Prints its report by itself; a Failure follows when no update would go out.
[[nodiscard]] std::string runAccountTest(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountEnable(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountDisable(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountRemove(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountPassword(Database& a_oDatabase, const Options& a_oOptions);

/// Needs no service.
void runProviders(const Options& a_oOptions);

/// Prints the newest attempts and, with Options::m_bFollow, each new one until a signal ends it.
void runLog(const Options& a_oOptions);

/// Prints a line per changed table while it runs; ends on SIGINT and SIGTERM, after Options::m_uiCount lines, or when
/// Options::m_uiTimeoutSec are over, which is a Failure where lines are still missing. Makes its own connections, the
/// last of which is rebuilt when it breaks. Once per process: it leaves signal handlers behind.
void runWatch(const Options& a_oOptions);

} // namespace cfgctl
