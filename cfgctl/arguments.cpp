#include "cfgctl/arguments.h"

#include "cfgctl/accountarguments.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"

#include <CLI/CLI.hpp>
#include <algorithm>

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
names then holds exactly the file's rows, in its order: rows with the same Id are
kept or changed, others deleted, rows without an Id added. A column left out gets
its default; a Password left out, or a secret shown as "********", stays as it is
stored. DNS servers that netifwatch wrote stay unless the file brings some. Either
everything is written or nothing.

Examples:
  cfgctl import saved.json
  cfgctl export | sed s/ppp0/ppp1/ | cfgctl import -)";

constexpr const char* s_pAddExamples = R"(

Example:
  cfgctl add DNSClientServer Interface=ppp0 IPAddress=192.0.2.1)";

constexpr const char* s_pSetExamples = R"(

Examples:
  cfgctl set DynDns Id=1 Interface=ppp1
  cfgctl set etl Id=1 serial_no=A1B2C3)";

/// The texts as they come from the command line, until they are taken apart.
struct RawArguments
{
    std::string m_strKey;
    std::vector<std::string> m_oValues;
    unsigned m_uiWaitSec = 5;
};

/// What stands before a value, which may be a password.
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
        m_oApp.require_subcommand(1);
        m_oApp.get_formatter()->label("SUBCOMMAND", "COMMAND");
        m_oApp.fallthrough();
        m_oApp.set_version_flag("-V,--version", "cfgctl " CFGCTL_VERSION);
        addGlobalOptions();
        addAccountCommands(m_oApp, m_oOptions, m_oRequest);
        addReaders();
        addWriters();
        addTransfers();
        m_oApp.footer(s_pFooter); // last: commands inherit the footer that is there when they are added
    }

    Request parse(int a_iCount, const char* const* a_ppArguments)
    {
        try
        {
            m_oApp.parse(a_iCount, a_ppArguments);
        }
        catch (const CLI::CallForHelp&)
        {
            m_oRequest.m_strText = m_oApp.help();
            return m_oRequest;
        }
        catch (const CLI::CallForVersion& oVersion)
        {
            m_oRequest.m_strText = std::string(oVersion.what()) + "\n";
            return m_oRequest;
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
        try
        {
            finish();
        }
        catch (const UsageError& oError)
        {
            fail(oError.what());
        }
        return m_oRequest;
    }

private:
    [[noreturn]] void fail(const std::string& a_strReason) const
    {
        std::string strCommand;
        const CLI::App* pCommand = &m_oApp;
        while (!pCommand->get_subcommands().empty())
        {
            pCommand = pCommand->get_subcommands().front();
            strCommand += " " + pCommand->get_name();
        }
        if (!strCommand.empty())
        {
            throw UsageError(a_strReason + ". See 'cfgctl" + strCommand + " --help'");
        }
        const std::vector<std::string> oUnknown = m_oApp.remaining();
        if (oUnknown.empty())
        {
            throw UsageError(a_strReason + ". See 'cfgctl --help'");
        }
        const char* pKind = oUnknown.front().substr(0, 1) == "-" ? "an option" : "a command";
        throw UsageError("'" + withoutValue(oUnknown.front()) + "' is not " + pKind + ". See 'cfgctl --help'");
    }

    using Command = std::string (*)(Database&, const Options&);

    CLI::App& addCommand(const char* a_pName, const char* a_pHelp, Command a_pCommand)
    {
        CLI::App& oCommand = *m_oApp.add_subcommand(a_pName, a_pHelp);
        oCommand.group("Commands");
        oCommand.callback([this, a_pCommand] { m_oRequest.m_oCommand = a_pCommand; });
        return oCommand;
    }
    CLI::Option& addTable(CLI::App& a_oCommand)
    {
        return *a_oCommand.add_option("TABLE", m_oOptions.m_strTable, "the table")->type_name("")->required();
    }
    CLI::Option& addKey(CLI::App& a_oCommand, const char* a_pName, const char* a_pHelp)
    {
        return *a_oCommand.add_option(a_pName, m_oRaw.m_strKey, a_pHelp)->type_name("");
    }
    void addValues(CLI::App& a_oCommand, const char* a_pExamples)
    {
        a_oCommand.add_option("COLUMN=VALUE", m_oRaw.m_oValues, "what to write")->type_name("")->required();
        a_oCommand.footer(std::string(s_pValuesFooter) + a_pExamples);
    }

    void addGlobalOptions()
    {
        m_oApp.add_option("--socket", m_oOptions.m_strSocket, "the service's socket")
            ->type_name("PATH")
            ->capture_default_str();
        m_oApp.add_flag("--json", m_oOptions.m_bJson, "print JSON");
        m_oApp.add_flag("--show-secrets", m_oOptions.m_bShowSecrets, "print passwords as they are");
        m_oApp
            .add_option("--wait", m_oRaw.m_uiWaitSec, "how long to wait for write access while another client holds it")
            ->type_name("SECONDS")
            ->check(CLI::Range(0U, 86400U).description(""))
            ->capture_default_str();
    }

    void addReaders()
    {
        CLI::App& oStatus = addCommand("status", "the accounts: latest result and next step", runStatus);
        oStatus.footer("Examples:\n  cfgctl status\n  cfgctl status --json");
        CLI::App& oShow = addCommand("show", "the rows of a table", runShow);
        addTable(oShow);
        addKey(oShow, "COLUMN=VALUE", "only rows with this value");
        oShow.footer("Examples:\n  cfgctl show DynDns Id=1\n  cfgctl show StatusNetifWatch\n"
                     "  cfgctl show DynDnsLog --json");
        CLI::App& oTables = addCommand("tables", "the tables, or the columns of one", runTables);
        addTable(oTables).required(false);
        oTables.footer("Examples:\n  cfgctl tables\n  cfgctl tables DynDns");
        CLI::App& oWatch = *m_oApp.add_subcommand("watch", "print a line whenever a table changes, until Ctrl-C");
        oWatch.add_option("TABLE", m_oOptions.m_oTables, "the tables; all if none is named")->type_name("");
        oWatch.add_option("--count", m_oOptions.m_uiCount, "exit after N lines")->type_name("N");
        oWatch
            .add_option(
                "--timeout", m_oOptions.m_uiTimeoutSec, "exit after SECONDS; status 1 if --count lines did not come")
            ->type_name("SECONDS")
            ->check(CLI::Range(1U, 31536000U).description(""));
        oWatch.group("Commands");
        oWatch.footer("Examples:\n  cfgctl watch\n  cfgctl watch DynDnsStatus --count 1 --timeout 90");
        oWatch.callback([this] { m_oRequest.m_oLongCommand = runWatch; });
    }

    void addWriters()
    {
        CLI::App& oAdd = addCommand("add", "add a row; prints its Id", runAdd);
        addTable(oAdd);
        addValues(oAdd, s_pAddExamples);
        CLI::App& oSet = addCommand("set", "change a row", runSet);
        addTable(oSet);
        addKey(oSet, "KEY=VALUE", "the row, such as Id=1").required();
        addValues(oSet, s_pSetExamples);
        CLI::App& oDelete = addCommand("delete", "delete a row", runDelete);
        addTable(oDelete);
        addKey(oDelete, "KEY=VALUE", "the row, such as Id=1").required();
        oDelete.footer("Examples:\n  cfgctl delete DNSClientServer Id=2\n  cfgctl delete StatusNetifWatch Name=ppp1");
    }

    void addTransfers()
    {
        CLI::App& oExport = addCommand("export", "write tables as JSON", runExport);
        oExport.add_option("TABLE", m_oOptions.m_oTables, "the tables; all settings if none is named")->type_name("");
        oExport.add_option("-o,--output", m_oOptions.m_strFile, "a file; '-' is standard output")
            ->type_name("FILE")
            ->capture_default_str();
        oExport.add_flag("--all", m_oOptions.m_bAll, "state tables too, and DNS servers that netifwatch wrote");
        oExport.footer(s_pExportFooter);
        CLI::App& oImport = addCommand("import", "replace tables with those of a JSON file", runImport);
        oImport.add_option("FILE", m_oOptions.m_strFile, "the file; '-' is standard input")->type_name("")->required();
        oImport.footer(s_pImportFooter);
    }

    void finish()
    {
        if (!m_oRaw.m_strKey.empty())
        {
            m_oOptions.m_oKey = {parseAssignment(m_oRaw.m_strKey)};
        }
        m_oOptions.m_oValues = parseAssignments(m_oRaw.m_oValues);
        const auto countStandardInput = [](const std::vector<Assignment>& a_oAssignments)
        { return std::count_if(a_oAssignments.begin(), a_oAssignments.end(), isFromStandardInput); };
        if (countStandardInput(m_oOptions.m_oKey) + countStandardInput(m_oOptions.m_oValues) > 1)
        {
            throw UsageError("Only one value can come from standard input");
        }
        m_oOptions.m_oPatience = std::chrono::seconds(m_oRaw.m_uiWaitSec);
        m_oRequest.m_oOptions = m_oOptions;
    }

    CLI::App m_oApp;
    RawArguments m_oRaw;
    Options m_oOptions;
    Request m_oRequest;
};

} // namespace

Request parseArguments(int a_iCount, const char* const* a_ppArguments)
{
    return Parser().parse(a_iCount, a_ppArguments);
}

} // namespace cfgctl
