#include "cfgctl/accountarguments.h"

#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"

#include <climits>

namespace cfgctl
{

namespace
{

constexpr const char* s_pAddExamples = R"(The password is asked for on the terminal and not shown.

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

Placeholders of --url:)";

constexpr const char* s_pAddPlaceholders = R"(
A <username> takes the user name into the URL; without one it is sent by Basic
authentication. Values that would break the URL are percent-encoded.

--dual announces an IPv6 address as well. While the interface has none, that
place stays empty, which some providers take as "delete the record".)";

constexpr const char* s_pGroupFooter = R"(Examples:
  cfgctl account add --provider duckdns --host alice.duckdns.org -i ppp0
  cfgctl account test 1

'cfgctl account COMMAND --help' describes one command, with more examples.
'cfgctl status' shows the state of the accounts.)";

constexpr const char* s_pListFooter = R"(Examples:
  cfgctl account list
  cfgctl account list --json)";

constexpr const char* s_pTestFooter =
    R"(Shows the next update and everything that prevents it, each with what to do.
Nothing is sent. The exit status is 1 if no update would go out.

Examples:
  cfgctl account test 1
  cfgctl account test 1 --show-secrets)";

constexpr const char* s_pEnableFooter = R"(Examples:
  cfgctl account enable 1
  cfgctl account disable 1 2)";

constexpr const char* s_pRemoveFooter =
    R"(The account's last outcome and its log are removed with it. An enabled account is
disabled first and removed two seconds later: the daemon would go on updating an
account that disappeared while enabled.

Examples:
  cfgctl account remove 1
  cfgctl account remove 1 2 --yes)";

constexpr const char* s_pPasswordFooter =
    R"(The password is asked for on the terminal and not shown, or read from a file; it
is percent-encoded where it goes into the URL.

Examples:
  cfgctl account password 1
  cfgctl account password 1 --password-file - < token.txt)";

constexpr const char* s_pProvidersFooter =
    R"(For settings that the provider's own pages do not confirm, it says what is in
doubt. /etc/quorvad/providers.json adds providers or replaces some.

Examples:
  cfgctl providers
  cfgctl providers noip
  cfgctl providers --providers my-providers.json)";

constexpr const char* s_pLogFooter = R"(The daemon writes outcomes once a minute, or at the next change of settings or
interfaces. The last attempt of an account has its outcome; older ones are judged
by the account's present settings and the stored part of the answer, and are
"unknown" where that part does not tell.

Examples:
  cfgctl log
  cfgctl log --account 1 --lines 50
  cfgctl log --follow --json)";

std::string makeAddFooter()
{
    std::string strFooter = s_pAddExamples;
    for (const std::string& strPlaceholder : getPlaceholders())
    {
        strFooter += " " + strPlaceholder;
    }
    return strFooter + "." + s_pAddPlaceholders;
}

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
        addProvidersFile(addCommand("list", "list the accounts", runAccountList, s_pListFooter));
        CLI::App& oTest =
            addCommand("test", "show the next update and everything that prevents it", runAccountTest, s_pTestFooter);
        addId(oTest);
        addProvidersFile(oTest);
        addIds(addCommand("enable", "start updating accounts", runAccountEnable, s_pEnableFooter));
        addIds(addCommand("disable", "stop updating accounts", runAccountDisable, s_pEnableFooter));
        CLI::App& oRemove = addCommand("remove", "delete accounts", runAccountRemove, s_pRemoveFooter);
        addIds(oRemove);
        oRemove.add_flag("-y,--yes", m_oAccount.m_bYes, "do not ask");
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

    CLI::App& addCommand(const char* a_pName, const char* a_pHelp, Command a_pCommand, const std::string& a_strFooter)
    {
        CLI::App& oCommand = *m_oGroup.add_subcommand(a_pName, a_pHelp);
        oCommand.group("Commands");
        oCommand.footer(a_strFooter);
        oCommand.callback([&oRequest = m_oRequest, a_pCommand] { oRequest.m_oCommand = a_pCommand; });
        return oCommand;
    }
    void addProvidersFile(CLI::App& a_oCommand)
    {
        addText(a_oCommand, "--providers", m_oAccount.m_strProviders, "read more providers from FILE", "FILE");
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
                "--password-file", m_oAccount.m_strPasswordFile, "read the password from FILE; '-' is standard input")
            ->type_name("FILE");
    }
    static CLI::Option&
    addText(CLI::App& a_oCommand, const char* a_pName, std::string& a_strText, const char* a_pHelp, const char* a_pType)
    {
        return *a_oCommand.add_option(a_pName, a_strText, a_pHelp)->type_name(a_pType);
    }

    void addAdd()
    {
        CLI::App& oAdd = addCommand("add", "add an account", runAccountAdd, makeAddFooter());
        addWhere(oAdd);
        AccountSpec& oSpec = m_oAccount.m_oWish;
        addText(oAdd, "--host", oSpec.m_strHost, "the name to update", "HOST").required();
        addText(oAdd, "-i,--interface", oSpec.m_strInterface, "the interface to follow", "NAME").required();
        addText(oAdd, "--user", oSpec.m_strUser, "the user name, if the provider wants one", "USER");
        addText(oAdd, "--zone", oSpec.m_strZone, "the zone of the host, for providers that take it separately", "ZONE");
        addPasswordFile(oAdd);
        oAdd.add_flag("--dual", oSpec.m_bDual, "announce the IPv6 address as well");
        oAdd.add_option_function<int>(
                "--retry", [&oSpec](const int& a_iTries) { oSpec.m_iRetry = a_iTries; }, "tries per change")
            ->type_name("N")
            ->check(CLI::Range(1, g_iMostTries).description(""));
        oAdd.add_option_function<std::string>(
                "--expect",
                [&oSpec](const std::string& a_strText) { oSpec.m_strExpect = a_strText; },
                "text that a good answer contains; if empty, HTTP status 200 is one")
            ->type_name("TEXT");
        oAdd.add_flag_callback(
            "--disabled", [&oSpec] { oSpec.m_bEnable = false; }, "add the account without updating it");
        addProvidersFile(oAdd);
        oAdd.add_flag("--dry-run", m_oAccount.m_bDryRun, "show the row and write nothing");
        oAdd.callback(
            [&oAccount = m_oAccount, &oRequest = m_oRequest]
            {
                if (oAccount.m_strProvider.empty() && oAccount.m_strUrl.empty() && oAccount.m_strServer.empty())
                {
                    throw UsageError("One of --provider NAME, --url TEMPLATE and --server NAME is required");
                }
                oRequest.m_oCommand = runAccountAdd;
            });
    }
    void addWhere(CLI::App& a_oAdd)
    {
        CLI::Option& oProvider = addText(
            a_oAdd, "-p,--provider", m_oAccount.m_strProvider, "a provider listed by 'cfgctl providers'", "NAME");
        CLI::Option& oUrl =
            addText(a_oAdd, "--url", m_oAccount.m_strUrl, "the update URL of another provider", "TEMPLATE");
        CLI::Option& oServer =
            addText(a_oAdd, "--server", m_oAccount.m_strServer, "the GnuDIP server of another provider", "NAME");
        oProvider.excludes(&oUrl)->excludes(&oServer);
        oUrl.excludes(&oServer);
    }

    void addProviders()
    {
        CLI::App& oProviders = *m_oApp.add_subcommand("providers", "list the providers, or everything known of one");
        oProviders.group("Commands");
        oProviders.footer(s_pProvidersFooter);
        addText(oProviders, "NAME", m_oAccount.m_strProvider, "one provider", "");
        addProvidersFile(oProviders);
        oProviders.callback([&oRequest = m_oRequest] { oRequest.m_oLongCommand = runProviders; });
    }
    void addLog()
    {
        CLI::App& oLog = *m_oApp.add_subcommand("log", "show the newest attempts and their answers");
        oLog.group("Commands");
        oLog.footer(s_pLogFooter);
        oLog.add_flag("-f,--follow", m_oOptions.m_bFollow, "then each new one, until Ctrl-C");
        oLog.add_option("--account", m_oAccount.m_oIds, "only this account")
            ->type_name("ID")
            ->check(CLI::Range(1, INT_MAX).description(""))
            ->expected(1);
        oLog.add_option("-n,--lines", m_oOptions.m_uiLines, "show at most N")->type_name("N")->capture_default_str();
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
