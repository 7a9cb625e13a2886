#include "cfgctl/accountarguments.h"

#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/foreign/clientfile.h"

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
      --user alice --host home.example.net -i eth0 --expect good \
      --unchanged nochg
  cfgctl account add --server gnudip.example.net --user alice \
      --host alice.dyn.example.net -i eth0

Placeholders of --url:
 )";

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

constexpr const char* s_pImportFooter =
    R"(FILE is the configuration of inadyn, of ddclient or of OpenWrt's ddns scripts.
Without --yes it only shows what it would add; what it cannot add is named with
the reason. Accounts that exist and those that are disabled there are left out.
Other files that FILE includes are not read. For tables from 'cfgctl export' use
'cfgctl import'.

Exit status: 0 if each account of the file is added or exists, 1 if not, as
always without --yes when there is something to add.

Examples:
  cfgctl account import /etc/ddclient.conf
  cfgctl account import inadyn.conf --interface ppp0 --yes
  ssh router cat /etc/config/ddns | cfgctl account import - -i eth0)";

constexpr const char* s_pListFooter = R"(Examples:
  cfgctl account list
  cfgctl account list --json)";

constexpr const char* s_pTestFooter =
    R"(Shows the next update and everything that prevents it, each with what to do.
Nothing is sent. The exit status is 1 if no update would go out.

Examples:
  cfgctl account test 1
  cfgctl account test 1 --show-secrets)";

constexpr const char* s_pSetFooter =
    R"(Only what is named changes, by the rules of 'cfgctl account add': a host or user
name that is part of the update URL changes there too. Another provider, both
address families or another zone need a new account.

Examples:
  cfgctl account set 1 --interface ppp1
  cfgctl account set home.example.org --host www.example.org
  cfgctl account set 1 --expect good --unchanged nochg)";

constexpr const char* s_pUpdateFooter =
    R"(For providers that forget a name after some weeks without an update; others may
take updates without a change for abuse. Settings stay as they are. The exit
status is 1 if accounts are enabled and none is sent.

Example:
  cfgctl account update)";

constexpr const char* s_pEnableFooter = R"(Examples:
  cfgctl account enable 1
  cfgctl account disable 1 2)";

constexpr const char* s_pRemoveFooter =
    R"(The account's last outcome and its log are removed with it. An enabled account
is disabled first and removed two seconds later: the daemon would go on updating
an account that disappeared while enabled.

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
interfaces. The last attempt of an account has its outcome; older ones are
judged by the account's present settings and the stored part of the answer, and
are "unknown" where that part does not tell.

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
    return strFooter + s_pAddPlaceholders;
}

CLI::Option* addIds(CLI::App& a_oCommand, Request& a_oRequest, const char* a_pName, const char* a_pHelp)
{
    return addOption(a_oCommand, a_pName, a_oRequest.m_oOptions.m_oAccount.m_oIds, a_pHelp, "")
        ->check(CLI::Range(1, INT_MAX).description(""));
}

void addProvidersFile(CLI::App& a_oCommand, AccountOptions& a_oAccount)
{
    addOption(a_oCommand, "--providers", a_oAccount.m_strProviders, "read more providers from FILE", "FILE");
}

void addPasswordFile(CLI::App& a_oCommand, AccountOptions& a_oAccount)
{
    const char* pHelp = "read the password from FILE; '-' is standard input";
    addOption(a_oCommand, "--password-file", a_oAccount.m_strPasswordFile, pHelp, "FILE");
}

/// The options that choose the provider.
void addWhere(CLI::App& a_oAdd, AccountOptions& a_oAccount)
{
    const char* pHelp = "a provider listed by 'cfgctl providers'";
    CLI::Option* pProvider = addOption(a_oAdd, "-p,--provider", a_oAccount.m_strProvider, pHelp, "NAME");
    CLI::Option* pUrl =
        addOption(a_oAdd, "--url", a_oAccount.m_strUrl, "the update URL of another provider", "TEMPLATE");
    CLI::Option* pServer =
        addOption(a_oAdd, "--server", a_oAccount.m_strServer, "the GnuDIP server of another provider", "NAME");
    pProvider->excludes(pUrl)->excludes(pServer);
    pUrl->excludes(pServer);
}

void addJudging(CLI::App& a_oCommand,
                std::optional<int>& a_iRetry,
                std::optional<std::string>& a_strExpect,
                std::optional<std::string>& a_strUnchanged)
{
    addOption(a_oCommand, "--retry", a_iRetry, "tries per change", "N")
        ->check(CLI::Range(1, g_iMostTries).description(""));
    const char* pHelp = "text of a good answer; empty: HTTP status 200";
    addOption(a_oCommand, "--expect", a_strExpect, pHelp, "TEXT");
    const char* pUnchangedHelp = "text of an answer for an address it has already";
    addOption(a_oCommand, "--unchanged", a_strUnchanged, pUnchangedHelp, "TEXT");
}

void addSpec(CLI::App& a_oAdd, AccountOptions& a_oAccount)
{
    AccountSpec& oSpec = a_oAccount.m_oSpec;
    addOption(a_oAdd, "--host", oSpec.m_strHost, "the name to update", "HOST")->required();
    addOption(a_oAdd, "-i,--interface", oSpec.m_strInterface, "the interface to follow", "NAME")->required();
    addOption(a_oAdd, "--user", oSpec.m_strUser, "the user name, if the provider wants one", "USER");
    addOption(a_oAdd, "--zone", oSpec.m_strZone, "the zone of the host, where it is taken separately", "ZONE");
    addPasswordFile(a_oAdd, a_oAccount);
    a_oAdd.add_flag("--dual", oSpec.m_bDual, "announce the IPv6 address as well");
    addJudging(a_oAdd, oSpec.m_iRetry, oSpec.m_strExpect, oSpec.m_strUnchanged);
    a_oAdd.add_flag_callback(
        "--disabled", [&oSpec] { oSpec.m_bEnable = false; }, "add the account without updating it");
}

void addAdd(CLI::App& a_oGroup, Request& a_oRequest)
{
    AccountOptions& oAccount = a_oRequest.m_oOptions.m_oAccount;
    CLI::App& oAdd = addCommand(a_oGroup, a_oRequest, "add", "add an account", runAccountAdd, makeAddFooter());
    addWhere(oAdd, oAccount);
    addSpec(oAdd, oAccount);
    addProvidersFile(oAdd, oAccount);
    oAdd.add_flag("--dry-run", oAccount.m_bDryRun, "show the row and write nothing");
    oAdd.callback(
        [&oAccount, &a_oRequest]
        {
            if (oAccount.m_strProvider.empty() && oAccount.m_strUrl.empty() && oAccount.m_strServer.empty())
            {
                throw UsageError("One of --provider NAME, --url TEMPLATE and --server NAME is required");
            }
            a_oRequest.m_oCommand = runAccountAdd;
        });
}

void addImport(CLI::App& a_oGroup, Request& a_oRequest)
{
    Options& oOptions = a_oRequest.m_oOptions;
    AccountOptions& oAccount = oOptions.m_oAccount;
    const char* pHelp = "add the accounts of another client's file";
    CLI::App& oImport = addCommand(a_oGroup, a_oRequest, "import", pHelp, runAccountImport, s_pImportFooter);
    addOption(oImport, "FILE", oOptions.m_strFile, "the file; '-' is standard input", "")->required();
    addOption(oImport, "--format", oAccount.m_strFormat, "inadyn, ddclient or openwrt, if not recognised", "NAME")
        ->check(CLI::IsMember(getFormats()).description(""));
    const char* pInterfaceHelp = "the interface where the file names none";
    addOption(oImport, "-i,--interface", oAccount.m_oSpec.m_strInterface, pInterfaceHelp, "NAME");
    addProvidersFile(oImport, oAccount);
    oImport.add_flag("-y,--yes", oAccount.m_bYes, "add the accounts");
}

void addSet(CLI::App& a_oGroup, Request& a_oRequest)
{
    AccountOptions& oAccount = a_oRequest.m_oOptions.m_oAccount;
    AccountChange& oChange = oAccount.m_oChange;
    CLI::App& oSet = addCommand(a_oGroup, a_oRequest, "set", "change an account", runAccountSet, s_pSetFooter);
    addOption(oSet, "ID|HOST", oAccount.m_strAccount, "the account", "")->required();
    addOption(oSet, "--host", oChange.m_strHost, "the name to update", "HOST");
    addOption(oSet, "-i,--interface", oChange.m_strInterface, "the interface to follow", "NAME");
    addOption(oSet, "--user", oChange.m_strUser, "the user name", "USER");
    addJudging(oSet, oChange.m_iRetry, oChange.m_strExpect, oChange.m_strUnchanged);
    addProvidersFile(oSet, oAccount);
    oSet.callback(
        [&oChange, &a_oRequest]
        {
            if (!oChange.m_strHost && !oChange.m_strInterface && !oChange.m_strUser && !oChange.m_iRetry &&
                !oChange.m_strExpect && !oChange.m_strUnchanged)
            {
                throw UsageError("Name what is to change, such as --interface NAME");
            }
            a_oRequest.m_oCommand = runAccountSet;
        });
}

void addEditors(CLI::App& a_oGroup, Request& a_oRequest)
{
    AccountOptions& oAccount = a_oRequest.m_oOptions.m_oAccount;
    const auto add = [&](const char* a_pName, const char* a_pHelp, Command* a_pCommand, const char* a_pFooter)
    { return &addCommand(a_oGroup, a_oRequest, a_pName, a_pHelp, a_pCommand, a_pFooter); };
    addProvidersFile(*add("list", "list the accounts", runAccountList, s_pListFooter), oAccount);
    const char* pHelp = "show the next update and everything that prevents it";
    CLI::App& oTest = *add("test", pHelp, runAccountTest, s_pTestFooter);
    addIds(oTest, a_oRequest, "ID", "the account")->expected(1)->required();
    addProvidersFile(oTest, oAccount);
    const char* pUpdateHelp = "send all enabled accounts again, without a change";
    add("update", pUpdateHelp, runAccountUpdate, s_pUpdateFooter);
    CLI::App& oEnable = *add("enable", "start updating accounts", runAccountEnable, s_pEnableFooter);
    CLI::App& oDisable = *add("disable", "stop updating accounts", runAccountDisable, s_pEnableFooter);
    CLI::App& oRemove = *add("remove", "delete accounts", runAccountRemove, s_pRemoveFooter);
    for (CLI::App* pCommand : {&oEnable, &oDisable, &oRemove})
    {
        addIds(*pCommand, a_oRequest, "ID", "the accounts")->required();
    }
    oRemove.add_flag("-y,--yes", oAccount.m_bYes, "do not ask");
    CLI::App& oPassword = *add("password", "change an account's password", runAccountPassword, s_pPasswordFooter);
    addIds(oPassword, a_oRequest, "ID", "the account")->expected(1)->required();
    addPasswordFile(oPassword, oAccount);
    addProvidersFile(oPassword, oAccount);
}

} // namespace

void addAccountCommands(CLI::App& a_oApp, Request& a_oRequest)
{
    CLI::App& oGroup = *a_oApp.add_subcommand("account", "add, show, test and change accounts");
    oGroup.require_subcommand(1);
    oGroup.footer(s_pGroupFooter);
    addAdd(oGroup, a_oRequest);
    addImport(oGroup, a_oRequest);
    addSet(oGroup, a_oRequest);
    addEditors(oGroup, a_oRequest);
    Options& oOptions = a_oRequest.m_oOptions;
    const char* pHelp = "list the providers, or everything known of one";
    CLI::App& oProviders = addCommand(a_oApp, a_oRequest, "providers", pHelp, runProviders, s_pProvidersFooter);
    addOption(oProviders, "NAME", oOptions.m_oAccount.m_strProvider, "one provider", "");
    addProvidersFile(oProviders, oOptions.m_oAccount);
    const char* pLogHelp = "show the newest attempts and their answers";
    CLI::App& oLog = addCommand(a_oApp, a_oRequest, "log", pLogHelp, runLog, s_pLogFooter);
    oLog.add_flag("-f,--follow", oOptions.m_bFollow, "then each new one, until Ctrl-C");
    addIds(oLog, a_oRequest, "--account", "only this account")->type_name("ID")->expected(1);
    addOption(oLog, "-n,--lines", oOptions.m_uiLines, "show at most N", "N")->capture_default_str();
}

} // namespace cfgctl
