#include "cfgctl/arguments.h"

#include "cfgctl/accountarguments.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "platform/common/helpformatter.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

namespace cfgctl
{

namespace
{

constexpr const char* s_pFooter = R"(Examples:
  cfgctl account add --provider duckdns --host alice.duckdns.org -i ppp0
  cfgctl status

'cfgctl COMMAND --help' explains one command, with examples.

Passwords, and the parts of an update URL that may be one, are shown as
"********" unless --show-secrets is given.

Exit status: 0 success, 1 failure (reason on standard error), 2 wrong usage.)";

constexpr const char* s_pValuesFooter = R"(COLUMN=VALUE   the value as written, a leading '@' included
COLUMN@=FILE   the content of a file without its final line end; '-' is
               standard input. This keeps a password off the command line:
                 cfgctl set DynDns Id=1 Password@=- < password.txt
'cfgctl tables TABLE' lists a table's columns with their types and defaults.)";

constexpr const char* s_pExportFooter =
    R"(Settings are exported; tables of states (interfaces, outcomes) only if named or
with --all, DNS servers that netifwatch wrote only with --all. FILE is readable
by its owner only.

Examples:
  cfgctl export
  cfgctl export --show-secrets -o saved.json
  cfgctl export DynDns DNSRelay)";

constexpr const char* s_pImportFooter = R"(The file is {"TABLE": [{"COLUMN": VALUE, ...}, ...], ...}. Each table that it
names then holds exactly the file's rows, in its order: rows with the same Id
are kept or changed, others deleted, rows without an Id added. A column left out
gets its default; a Password left out, or a secret shown as "********", stays as
it is stored. DNS servers that netifwatch wrote stay unless the file brings
some. Either everything is written or nothing.

Examples:
  cfgctl import saved.json
  cfgctl export | sed s/ppp0/ppp1/ | cfgctl import -)";

const std::string s_strAddExample = R"(

Example:
  cfgctl add DNSClientServer Interface=ppp0 IPAddress=192.0.2.1)";

const std::string s_strSetExamples = R"(

Examples:
  cfgctl set DynDns Id=1 Interface=ppp1
  cfgctl set etl Id=1 serial_no=A1B2C3)";

constexpr const char* s_pStatusFooter =
    R"(--check is for monitoring programs. Its exit status is 0 if all is well, 1 if an
enabled account failed, is overdue or cannot be sent, 2 if service, daemon or
watcher are missing.

Examples:
  cfgctl status
  cfgctl status --json
  cfgctl status --check --max-age 30d
  cfgctl status --metrics)";

constexpr const char* s_pClientsFooter = R"(Examples:
  cfgctl clients
  cfgctl clients --json)";

constexpr const char* s_pShowFooter = R"(Examples:
  cfgctl show DynDns Id=1
  cfgctl show StatusNetifWatch
  cfgctl show DynDnsLog --json)";

constexpr const char* s_pTablesFooter = R"(Examples:
  cfgctl tables
  cfgctl tables DynDns)";

constexpr const char* s_pWatchFooter =
    R"(--exec takes the rest of the line: a program and its arguments, without a shell.
It runs once for each new outcome of an account, one at a time, with these
variables in its environment:
  QUORVAD_ACCOUNT, QUORVAD_HOST, QUORVAD_INTERFACE  of the account
  QUORVAD_OUTCOME    updated, unchanged, failed or unknown
  QUORVAD_PREVIOUS   the account's outcome before, or none
  QUORVAD_CODE       the answer's code, 0 without an answer
  QUORVAD_ANSWER     the answer's beginning, without the account's secrets
  QUORVAD_TIME       such as 2026-03-01T17:45:09+0100
Its standard input is empty. If it fails, that is reported, and nothing else.

Examples:
  cfgctl watch
  cfgctl watch DynDnsStatus --count 1 --timeout 90
  cfgctl watch --exec /usr/local/bin/quorvad-outcome)";

constexpr const char* s_pDeleteFooter = R"(Examples:
  cfgctl delete DNSClientServer Id=2
  cfgctl delete StatusNetifWatch Name=ppp1)";

/// The argument without its value, which may be a password.
std::string withoutValue(const std::string& a_strArgument)
{
    const std::size_t uiEnd = a_strArgument.find_first_of("=:");
    return uiEnd == std::string::npos ? a_strArgument : a_strArgument.substr(0, uiEnd + 1) + "...";
}

class Parser
{
public:
    Parser() : m_oApp("Shows and changes the settings that the configuration service keeps.", "cfgctl")
    {
        m_oApp.formatter(std::make_shared<platform::HelpFormatter>()); // inherited by the commands
        m_oApp.require_subcommand(1);
        m_oApp.get_formatter()->label("SUBCOMMAND", "COMMAND");
        m_oApp.group("Commands"); // inherited by the commands
        m_oApp.fallthrough();
        m_oApp.set_version_flag("-V,--version", "cfgctl " CFGCTL_VERSION);
        addGlobalOptions();
        addAccountCommands(m_oApp, m_oRequest);
        addReaders();
        addWriters();
        addTransfers();
        m_oApp.footer(s_pFooter); // last, or the commands would inherit it
    }

    Request parse(int a_iCount, const char* const* a_ppArguments)
    {
        try
        {
            m_oApp.parse(cutBehindExec(a_iCount, a_ppArguments), a_ppArguments);
            finish();
        }
        catch (const CLI::CallForHelp&)
        {
            m_oRequest.m_strText = m_oApp.help();
        }
        catch (const CLI::CallForVersion& oVersion)
        {
            m_oRequest.m_strText = std::string(oVersion.what()) + "\n";
        }
        catch (const CLI::RequiredError& oError)
        {
            fail(m_oApp.get_subcommands().empty() ? "A command is missing" : oError.what());
        }
        catch (const CLI::ExtrasError&)
        {
            fail("'" + withoutValue(m_oApp.remaining(true).front()) + "' was not expected");
        }
        catch (const CLI::ParseError& oError)
        {
            fail(oError.what());
        }
        catch (const UsageError& oError)
        {
            fail(oError.what());
        }
        return m_oRequest;
    }

private:
    [[noreturn]] void fail(std::string a_strReason) const
    {
        std::string strCommand = "cfgctl";
        const CLI::App* pCommand = &m_oApp;
        while (!pCommand->get_subcommands().empty())
        {
            pCommand = pCommand->get_subcommands().front();
            strCommand += " " + pCommand->get_name();
        }
        const std::vector<std::string> oUnknown = m_oApp.remaining();
        if (m_oApp.get_subcommands().empty() && !oUnknown.empty())
        {
            const char* pKind = oUnknown.front().substr(0, 1) == "-" ? "an option" : "a command";
            a_strReason = "'" + withoutValue(oUnknown.front()) + "' is not " + pKind;
        }
        throw UsageError(a_strReason + ". See '" + strCommand + " --help'");
    }

    CLI::App& addCommand(const char* a_pName, const char* a_pHelp, Command* a_pCommand, const std::string& a_strFooter)
    {
        return cfgctl::addCommand(m_oApp, m_oRequest, a_pName, a_pHelp, a_pCommand, a_strFooter);
    }
    CLI::Option* addTable(CLI::App& a_oCommand)
    {
        return addOption(a_oCommand, "TABLE", m_oOptions.m_strTable, "the table", "")->required();
    }
    void addKey(CLI::App& a_oCommand)
    {
        addOption(a_oCommand, "KEY=VALUE", m_strKey, "the row, such as Id=1", "")->required();
    }
    void addValues(CLI::App& a_oCommand)
    {
        addOption(a_oCommand, "COLUMN=VALUE", m_oValues, "what to write", "")->required();
    }

    void addGlobalOptions()
    {
        addOption(m_oApp, "--socket", m_oOptions.m_strSocket, "the service's socket", "PATH")->capture_default_str();
        m_oApp.add_flag("--json", m_oOptions.m_bJson, "print JSON");
        m_oApp.add_flag("--show-secrets", m_oOptions.m_bShowSecrets, "print passwords as they are");
        const char* pHelp = "how long to wait for write access while another client holds it";
        addOption(m_oApp, "--wait", m_uiWaitSec, pHelp, "SECONDS")
            ->check(CLI::Range(0U, 86400U).description(""))
            ->capture_default_str();
    }

    void addStatus()
    {
        const char* pHelp = "the accounts: latest result and next step";
        CLI::App& oStatus = cfgctl::addCommand(m_oApp, m_oRequest, "status", pHelp, runStatus, s_pStatusFooter);
        CLI::Option* pCheck =
            oStatus.add_flag("--check", m_oOptions.m_bCheck, "one line and an exit status: 0, 1 or 2");
        const char* pMaxAge = "with --check: a success longer ago is a failure; 90m, 36h, 30d";
        const std::map<std::string, int> oUnits{{"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};
        addOption(oStatus, "--max-age", m_oOptions.m_oMaxAgeSec, pMaxAge, "SPAN")
            ->needs(pCheck)
            ->transform(CLI::AsNumberWithUnit(oUnits, CLI::AsNumberWithUnit::UNIT_REQUIRED).description(""))
            ->check(CLI::PositiveNumber.description(""));
        oStatus.add_flag("--metrics", m_oOptions.m_bMetrics, "in Prometheus' text format")->excludes(pCheck);
    }

    void addReaders()
    {
        addStatus();
        addCommand("clients", "who is connected to the service", runClients, s_pClientsFooter);
        CLI::App& oShow = addCommand("show", "the rows of a table", runShow, s_pShowFooter);
        addTable(oShow);
        addOption(oShow, "COLUMN=VALUE", m_strKey, "only rows with this value", "");
        addTable(addCommand("tables", "the tables, or the columns of one", runTables, s_pTablesFooter))
            ->required(false);
        const char* pHelp = "print a line whenever a table changes, until Ctrl-C";
        CLI::App& oWatch = cfgctl::addCommand(m_oApp, m_oRequest, "watch", pHelp, runWatch, s_pWatchFooter);
        addOption(oWatch, "TABLE", m_oOptions.m_oTables, "the tables; all if none is named", "");
        addOption(oWatch, "--count", m_oOptions.m_uiCount, "exit after N lines, or N runs of PROGRAM", "N");
        const char* pTimeout = "exit after SECONDS; status 1 if --count lines did not come";
        addOption(oWatch, "--exec", m_strExec, "run PROGRAM for each new outcome of an account", "PROGRAM [ARG ...]");
        addOption(oWatch, "--exec-limit", m_oOptions.m_uiExecLimitSec, "end it after SECONDS", "SECONDS")
            ->check(CLI::Range(1U, 86400U).description(""))
            ->capture_default_str();
        addOption(oWatch, "--timeout", m_oOptions.m_uiTimeoutSec, pTimeout, "SECONDS")
            ->check(CLI::Range(1U, 31536000U).description(""));
    }

    void addWriters()
    {
        CLI::App& oAdd = addCommand("add", "add a row; prints its Id", runAdd, s_pValuesFooter + s_strAddExample);
        addTable(oAdd);
        addValues(oAdd);
        CLI::App& oSet = addCommand("set", "change a row", runSet, s_pValuesFooter + s_strSetExamples);
        addTable(oSet);
        addKey(oSet);
        addValues(oSet);
        CLI::App& oDelete = addCommand("delete", "delete a row", runDelete, s_pDeleteFooter);
        addTable(oDelete);
        addKey(oDelete);
    }

    void addTransfers()
    {
        CLI::App& oExport = addCommand("export", "write tables as JSON", runExport, s_pExportFooter);
        addOption(oExport, "TABLE", m_oOptions.m_oTables, "the tables; all settings if none is named", "");
        addOption(oExport, "-o,--output", m_oOptions.m_strFile, "a file; '-' is standard output", "FILE")
            ->capture_default_str();
        oExport.add_flag("--all", m_oOptions.m_bAll, "state tables too, and DNS servers that netifwatch wrote");
        CLI::App& oImport =
            addCommand("import", "replace tables with those of a JSON file", runImport, s_pImportFooter);
        addOption(oImport, "FILE", m_oOptions.m_strFile, "the file; '-' is standard input", "")->required();
    }

    /// The program behind --exec takes the rest of the line, dashes or not. Returns how many words are left, the
    /// program included.
    int cutBehindExec(int a_iCount, const char* const* a_ppArguments)
    {
        const std::vector<std::string> oWords(a_ppArguments, a_ppArguments + a_iCount);
        const auto oWatch = std::find(oWords.begin(), oWords.end(), "watch");
        const auto oExec = std::find(oWatch, oWords.end(), "--exec");
        m_oOptions.m_oExec.assign(oExec == oWords.end() ? oExec : oExec + 1, oWords.end());
        return a_iCount - (m_oOptions.m_oExec.empty() ? 0 : static_cast<int>(m_oOptions.m_oExec.size()) - 1);
    }

    void finish()
    {
        if (!m_strExec.empty() && (!m_oOptions.m_oTables.empty() || m_oOptions.m_oExec.empty()))
        {
            throw UsageError("--exec follows the outcomes, not tables, and is written '--exec PROGRAM [ARG ...]'");
        }
        if (!m_strKey.empty())
        {
            m_oOptions.m_oKey = {parseAssignment(m_strKey)};
        }
        m_oOptions.m_oValues = parseAssignments(m_oValues);
        const auto countStandardInput = [](const std::vector<Assignment>& a_oAssignments)
        { return std::count_if(a_oAssignments.begin(), a_oAssignments.end(), isFromStandardInput); };
        if (countStandardInput(m_oOptions.m_oKey) + countStandardInput(m_oOptions.m_oValues) > 1)
        {
            throw UsageError("Only one value can come from standard input");
        }
        m_oOptions.m_oAccessTimeout = std::chrono::seconds(m_uiWaitSec);
    }

    CLI::App m_oApp;
    Request m_oRequest;
    Options& m_oOptions = m_oRequest.m_oOptions;
    std::string m_strKey;  // as given; parsed by finish()
    std::string m_strExec; // only the program
    std::vector<std::string> m_oValues;
    unsigned m_uiWaitSec = 5;
};

} // namespace

Request parseArguments(int a_iCount, const char* const* a_ppArguments)
{
    return Parser().parse(a_iCount, a_ppArguments);
}

} // namespace cfgctl
