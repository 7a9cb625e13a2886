#pragma once

#include "cfgctl/account/accountplan.h"
#include "cfgctl/assignment.h"
#include "cfgctl/table.h"

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace cfgctl
{

/// What the command line says of accounts.
struct AccountOptions
{
    std::string m_strProvider; ///< key of a provider; or one of the next two
    std::string m_strUrl;
    std::string m_strServer;
    AccountSpec m_oWish;
    std::string m_strPasswordFile; ///< "-" standard input, empty: ask on the terminal
    std::string m_strProviders;    ///< one more file of providers
    std::vector<int> m_oIds;
    bool m_bDryRun = false;
    bool m_bYes = false;
    std::chrono::milliseconds m_oSettle{2000}; ///< remove: for the daemon to see that an account was disabled
};

/// What the command line says; each command uses its part.
struct Options
{
    std::string m_strSocket = g_pDefaultSocket;
    bool m_bJson = false;
    bool m_bShowSecrets = false;
    Layout m_oLayout;                            ///< where standard output goes
    std::chrono::milliseconds m_oPatience{5000}; ///< for write access

    std::string m_strTable;
    std::vector<std::string> m_oTables;
    std::vector<Assignment> m_oKey;    ///< the row or rows meant: at most one
    std::vector<Assignment> m_oValues; ///< COLUMN=VALUE
    std::string m_strFile = "-";       ///< of export and import
    bool m_bAll = false;               ///< export: what other programs wrote, too
    AccountOptions m_oAccount;
    bool m_bFollow = false;      ///< log
    unsigned m_uiLines = 10;     ///< log: of what there is
    unsigned m_uiCount = 0;      ///< watch: lines until the end, 0 for no limit
    unsigned m_uiTimeoutSec = 0; ///< watch: seconds until the end, 0 for no limit
};

using Command = std::string(Database&, const Options&); ///< needs a connection; gives what to print
using LongCommand = void(const Options&);               ///< connects and prints by itself

/// What the command line asks for: a text to print (help, version), or a command.
struct Request
{
    std::string m_strText; ///< print this and end, unless empty
    std::variant<Command*, LongCommand*> m_oCommand;
    Options m_oOptions;
};

/// Reads the command line; no file is touched. Throws UsageError.
[[nodiscard]] Request parseArguments(int a_iCount, const char* const* a_ppArguments);

} // namespace cfgctl
