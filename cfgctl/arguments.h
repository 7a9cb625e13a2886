#pragma once

#include "cfgctl/account/accountchange.h"
#include "cfgctl/account/accountplan.h"
#include "cfgctl/assignment.h"
#include "cfgctl/table.h"

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace cfgctl
{

/// Options of the account commands.
struct AccountOptions
{
    std::string m_strProvider; ///< key of a provider; or one of the next two
    std::string m_strUrl;
    std::string m_strServer;
    AccountSpec m_oSpec;
    std::string m_strAccount; ///< set: Id or host
    AccountChange m_oChange;
    std::string m_strPasswordFile; ///< "-" standard input, empty: ask on the terminal
    std::string m_strProviders;    ///< an additional file of providers
    std::string m_strFormat;       ///< import: of the file; empty: recognised by its content
    std::vector<int> m_oIds;
    bool m_bDryRun = false;
    bool m_bYes = false;
    std::chrono::milliseconds m_oSettle{2000}; ///< remove: time for the daemon to notice that an account was disabled
};

/// All options; each command uses its own.
struct Options
{
    std::string m_strSocket = g_pDefaultSocket;
    bool m_bJson = false;
    bool m_bShowSecrets = false;
    Layout m_oLayout;                                 ///< of standard output
    std::chrono::milliseconds m_oAccessTimeout{5000}; ///< for write access

    std::string m_strTable;
    std::vector<std::string> m_oTables;
    std::vector<Assignment> m_oKey;    ///< selects rows; at most one
    std::vector<Assignment> m_oValues; ///< COLUMN=VALUE
    std::string m_strFile = "-";       ///< of export, import and account import
    bool m_bAll = false;               ///< export: also what other programs wrote
    AccountOptions m_oAccount;
    bool m_bCheck = false;            ///< status: one line and an exit status
    bool m_bMetrics = false;          ///< status: for Prometheus
    std::optional<int> m_oMaxAgeSec;  ///< status: the oldest success that is good enough
    bool m_bFollow = false;           ///< log
    unsigned m_uiLines = 10;          ///< log: how many at most
    unsigned m_uiCount = 0;           ///< watch: exit after so many lines; 0: no limit
    unsigned m_uiTimeoutSec = 0;      ///< watch: exit after so many seconds; 0: no limit
    std::vector<std::string> m_oExec; ///< watch: the program to run for each outcome, and its arguments; may be empty
    unsigned m_uiExecLimitSec = 60;   ///< watch: how long it may run
};

using Command = std::string(Database&, const Options&); ///< needs a connection; returns the output
using LongCommand = void(const Options&);               ///< connects and prints itself

/// What to do: print a text (help, version) or run a command.
struct Request
{
    std::string m_strText; ///< printed instead of running a command, unless empty
    std::variant<Command*, LongCommand*> m_oCommand;
    Options m_oOptions;
};

/// Parses the command line; opens no file. Throws UsageError.
[[nodiscard]] Request parseArguments(int a_iCount, const char* const* a_ppArguments);

} // namespace cfgctl
