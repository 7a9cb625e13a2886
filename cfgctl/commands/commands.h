#pragma once

#include "cfgctl/arguments.h"
#include "cfgctl/database.h"

#include <string>

namespace cfgctl
{

// One function per command. It returns the standard output, empty or ending with a line end, once everything has
// succeeded. All throw Failure (exit status 1), and UsageError for arguments that contradict each other.

[[nodiscard]] std::string runShow(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAdd(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runSet(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runDelete(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runTables(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runExport(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runImport(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runClients(Database& a_oDatabase, const Options& a_oOptions);

// The next one, and runAccountSet, print their output themselves, with warnings behind it.
[[nodiscard]] std::string runAccountAdd(Database& a_oDatabase, const Options& a_oOptions);
/// Prints its report itself, then throws Failure if an account of the file is neither there nor added.
[[nodiscard]] std::string runAccountImport(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountList(Database& a_oDatabase, const Options& a_oOptions);
/// Prints its report itself, then throws Failure if no update would be sent.
[[nodiscard]] std::string runAccountTest(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountEnable(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountDisable(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountRemove(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountSet(Database& a_oDatabase, const Options& a_oOptions);
/// Throws Failure if no update goes out because of it.
[[nodiscard]] std::string runAccountUpdate(Database& a_oDatabase, const Options& a_oOptions);
[[nodiscard]] std::string runAccountPassword(Database& a_oDatabase, const Options& a_oOptions);

/// Needs no service.
void runProviders(const Options& a_oOptions);

/// Prints the table with warnings behind it, or what a monitoring program wants. With Options::m_bCheck it ends by
/// throwing Exit, and does not throw Failure.
void runStatus(const Options& a_oOptions);

/// Prints the newest attempts and, with Options::m_bFollow, each new one until a signal ends it.
void runLog(const Options& a_oOptions);

/// Prints a line per changed table until SIGINT, SIGTERM, Options::m_uiCount lines or the end of
/// Options::m_uiTimeoutSec; the latter throws Failure if lines are missing. A lost connection is rebuilt. Once per
/// process: signal handlers stay installed.
void runWatch(const Options& a_oOptions);

} // namespace cfgctl
