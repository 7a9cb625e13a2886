#include "cfgctl/accountarguments.h"

#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"

#include <climits>

namespace cfgctl
{

namespace
{

constexpr int s_iMostTries = 20;

constexpr const char* s_pAddFooter = R"(The password is asked for on the terminal, without showing it.

Examples:
  cfgctl account add --provider duckdns --host alice.duckdns.org -i ppp0
  cfgctl account add --provider desec --host home.dedyn.io -i eth0 --dual \
      --password-file token.txt
  cfgctl account add --provider noip --host home.example.org --user alice \
      -i eth0 --dry-run
  cfgctl account add --url 'https://dyn.example.net/?h=<domain>&ip=<ipaddr>' \
      --user alice --host home.example.net -i eth0 --expect good
  cfgctl account add --server gnudip.example.net --user alice \
      --host alice.dyn.example.net -i eth0

Placeholders of --url: <ipaddr> <ipaddr6> <domain> <username> <password>
<serial>. A <username> takes the user name into the URL; without one it is sent
by Basic authentication. Values that would break the URL are percent-encoded.

--dual announces an IPv6 address as well. While the interface has none, that
place stays empty, which some providers take as "delete the record".)";

constexpr const char* s_pGroupFooter = R"(Examples:
  cfgctl account add --provider duckdns --host alice.duckdns.org -i ppp0
  cfgctl account test 1

'cfgctl account COMMAND --help' tells more about one command and shows more
examples. 'cfgctl status' shows how the accounts fare.)";

constexpr const char* s_pListFooter = R"(Examples:
  cfgctl account list
  cfgctl account list --json)";

constexpr const char* s_pTestFooter =
    R"(Shows what the next update would be and whether anything keeps it from going out,
each reason with its next step. Nothing is sent. Exit status 1: it would not go
out.

Examples:
  cfgctl account test 1
  cfgctl account test 1 --show-secrets)";

constexpr const char* s_pEnableFooter = R"(Examples:
  cfgctl account enable 1
  cfgctl account disable 1 2)";

constexpr const char* s_pRemoveFooter =
    R"(The account's last outcome and its log go with it. An enabled account is disabled
first and removed two seconds later: the daemon would go on updating an account
that disappeared while enabled.

Examples:
  cfgctl account remove 1
  cfgctl account remove 1 2 --yes)";

constexpr const char* s_pPasswordFooter =
    R"(The password is asked for on the terminal, without showing it, or read from a
file; it is percent-encoded where it goes into the URL.

Examples:
  cfgctl account password 1
  cfgctl account password 1 --password-file - < token.txt)";

constexpr const char* s_pProvidersFooter =
    R"(Those that are not confirmed by the provider's own pages say what is in doubt.
/etc/quorvad/providers.json adds more, or takes the place of some.

Examples:
  cfgctl providers
  cfgctl providers noip
  cfgctl providers --providers my-providers.json)";

constexpr const char* s_pLogFooter = R"(The daemon writes outcomes once a minute, or at the next change of settings or
interfaces. Whether an old attempt succeeded is judged by the account's present
settings.

Examples:
  cfgctl log
  cfgctl log --account 1 --lines 50
  cfgctl log --follow --json)";

/// Adds one command after the other.
class Adder
{
public:
    Adder(CLI::App& a_oApp, Options& a_oOptions, Request& a_oRequest)
        : m_oApp(a_oApp), m_oOptions(a_oOptions), m_oAccount(a_oOptions.m_oAccount), m_oRequest(a_oRequest),
          m_oGroup(*a_oApp.add_subcommand("account", "add, show, test and change accounts"))
    {
        m_oGroup.group("Commands");
        m_oGroup.require_subcommand(1);
        m_oGroup.footer(s_pGroupFooter);
        m_oGroup.get_formatter()->label("SUBCOMMAND", "COMMAND");
    }

    void addAll()
    {
        addAdd();
        addProvidersFile(addCommand("list", "the accounts", runAccountList, s_pListFooter));
        CLI::App& oTest =
            addCommand("test", "what the next update would be, and what is in its way", runAccountTest, s_pTestFooter);
        addId(oTest);
        addProvidersFile(oTest);
        addIds(addCommand("enable", "let accounts be updated", runAccountEnable, s_pEnableFooter));
        addIds(addCommand("disable", "keep accounts without updating them", runAccountDisable, s_pEnableFooter));
        CLI::App& oRemove = addCommand("remove", "delete accounts", runAccountRemove, s_pRemoveFooter);
        addIds(oRemove);
        oRemove.add_flag("-y,--yes", m_oAccount.m_bYes, "don't ask");
        CLI::App& oPassword =
            addCommand("password", "change an account's password", runAccountPassword, s_pPasswordFooter);
        addId(oPassword);
        addPasswordFile(oPassword);
        addProvidersFile(oPassword);
        addProviders();
        addLog();
    }

private:
    using Command = std::string (*)(Database&, const Options&);

    CLI::App& addCommand(const char* a_pName, const char* a_pHelp, Command a_pCommand, const char* a_pFooter)
    {
        CLI::App& oCommand = *m_oGroup.add_subcommand(a_pName, a_pHelp);
        oCommand.group("Commands");
        oCommand.footer(a_pFooter);
        oCommand.callback([&oRequest = m_oRequest, a_pCommand] { oRequest.m_oCommand = a_pCommand; });
        return oCommand;
    }
    void addProvidersFile(CLI::App& a_oCommand)
    {
        addText(a_oCommand, "--providers", m_oAccount.m_strProviders, "one more file of providers", "FILE");
    }
    void addIds(CLI::App& a_oCommand)
    {
        a_oCommand.add_option("ID", m_oAccount.m_oIds, "the accounts")
            ->type_name("")
            ->check(CLI::Range(1, INT_MAX).description(""))
            ->required();
    }
    void addId(CLI::App& a_oCommand)
    {
        a_oCommand.add_option("ID", m_oAccount.m_oIds, "the account")
            ->type_name("")
            ->check(CLI::Range(1, INT_MAX).description(""))
            ->expected(1)
            ->required();
    }
    void addPasswordFile(CLI::App& a_oCommand)
    {
        a_oCommand
            .add_option(
                "--password-file", m_oAccount.m_strPasswordFile, "take the password from there; '-' is standard input")
            ->type_name("FILE");
    }
    static CLI::Option&
    addText(CLI::App& a_oCommand, const char* a_pName, std::string& a_strText, const char* a_pHelp, const char* a_pType)
    {
        return *a_oCommand.add_option(a_pName, a_strText, a_pHelp)->type_name(a_pType);
    }

    void addAdd()
    {
        CLI::App& oAdd = addCommand("add", "add an account", runAccountAdd, s_pAddFooter);
        addWhere(oAdd);
        AccountSpec& oSpec = m_oAccount.m_oWish;
        addText(oAdd, "--host", oSpec.m_strHost, "the name to update", "HOST").required();
        addText(oAdd, "-i,--interface", oSpec.m_strInterface, "the interface to follow", "NAME").required();
        addText(oAdd, "--user", oSpec.m_strUser, "the user name, where the provider wants one", "USER");
        addText(oAdd, "--zone", oSpec.m_strZone, "the zone of the host, for providers that want it apart", "ZONE");
        addPasswordFile(oAdd);
        oAdd.add_flag("--dual", oSpec.m_bDual, "announce the IPv6 address as well");
        oAdd.add_option_function<int>(
                "--retry", [&oSpec](const int& a_iTries) { oSpec.m_iRetry = a_iTries; }, "tries per change")
            ->type_name("N")
            ->check(CLI::Range(1, s_iMostTries).description(""));
        oAdd.add_option_function<std::string>(
                "--expect",
                [&oSpec](const std::string& a_strText) { oSpec.m_strExpect = a_strText; },
                "text that a good answer contains; empty: HTTP status 200 decides")
            ->type_name("TEXT");
        oAdd.add_flag_callback(
            "--disabled", [&oSpec] { oSpec.m_bEnable = false; }, "keep it without updating it for now");
        addProvidersFile(oAdd);
        oAdd.add_flag("--dry-run", m_oAccount.m_bDryRun, "show the row and write nothing");
        oAdd.callback(
            [&oAccount = m_oAccount, &oRequest = m_oRequest]
            {
                if (oAccount.m_strProvider.empty() && oAccount.m_strUrl.empty() && oAccount.m_strServer.empty())
                {
                    throw UsageError("Where is the account? --provider NAME, --url TEMPLATE or --server NAME tells");
                }
                oRequest.m_oCommand = runAccountAdd;
            });
    }
    void addWhere(CLI::App& a_oAdd)
    {
        CLI::Option& oProvider =
            addText(a_oAdd, "-p,--provider", m_oAccount.m_strProvider, "a provider of 'cfgctl providers'", "NAME");
        CLI::Option& oUrl =
            addText(a_oAdd, "--url", m_oAccount.m_strUrl, "the update URL of another provider", "TEMPLATE");
        CLI::Option& oServer =
            addText(a_oAdd, "--server", m_oAccount.m_strServer, "the GnuDIP server of another provider", "NAME");
        oProvider.excludes(&oUrl)->excludes(&oServer);
        oUrl.excludes(&oServer);
    }

    void addProviders()
    {
        CLI::App& oProviders = *m_oApp.add_subcommand("providers", "the providers, or all that is known of one");
        oProviders.group("Commands");
        oProviders.footer(s_pProvidersFooter);
        addText(oProviders, "NAME", m_oAccount.m_strProvider, "one provider", "");
        addProvidersFile(oProviders);
        oProviders.callback([&oRequest = m_oRequest] { oRequest.m_oLongCommand = runProviders; });
    }
    void addLog()
    {
        CLI::App& oLog = *m_oApp.add_subcommand("log", "the newest attempts and their answers");
        oLog.group("Commands");
        oLog.footer(s_pLogFooter);
        oLog.add_flag("-f,--follow", m_oOptions.m_bFollow, "go on with each new one, until Ctrl-C");
        oLog.add_option("--account", m_oAccount.m_oIds, "only of this account")
            ->type_name("ID")
            ->check(CLI::Range(1, INT_MAX).description(""))
            ->expected(1);
        oLog.add_option("-n,--lines", m_oOptions.m_uiLines, "how many")->type_name("N")->capture_default_str();
        oLog.callback([&oRequest = m_oRequest] { oRequest.m_oLongCommand = runLog; });
    }

    CLI::App& m_oApp;
    Options& m_oOptions;
    AccountOptions& m_oAccount;
    Request& m_oRequest;
    CLI::App& m_oGroup;
};

} // namespace

void addAccountCommands(CLI::App& a_oApp, Options& a_oOptions, Request& a_oRequest)
{
    Adder(a_oApp, a_oOptions, a_oRequest).addAll();
}

} // namespace cfgctl
