#include "cfgctl/commands/commands.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "tests/unit/cfgctl/expect.h"
#include "tests/unit/support/liveservice.h"

#include <chrono>
#include <future>
#include <gmock/gmock.h>

using cfgctl::Failure;
using cfgctl::Options;
using testing::HasSubstr;
using testing::Not;

namespace
{

/// Runs commands against the real service, each over a connection of its own, as the program does.
class Commands : public testing::Test
{
protected:
    using Command = std::string (*)(cfgctl::Database&, const Options&);

    /// What the command returns and what it prints itself.
    std::string run(Command a_pCommand, const Options& a_oOptions)
    {
        cfgctl::Session oSession(m_oService.getSocket());
        cfgctl::Database oDatabase(oSession.getClient());
        testing::internal::CaptureStdout();
        std::string strReturned;
        try
        {
            strReturned = a_pCommand(oDatabase, a_oOptions);
        }
        catch (...)
        {
            static_cast<void>(testing::internal::GetCapturedStdout());
            throw;
        }
        return testing::internal::GetCapturedStdout() + strReturned;
    }
    std::string refused(Command a_pCommand, const Options& a_oOptions)
    {
        return reasonOf<Failure>([&] { run(a_pCommand, a_oOptions); });
    }
    static Options on(const std::string& a_strTable,
                      const std::vector<std::string>& a_oKey = {},
                      const std::vector<std::string>& a_oValues = {})
    {
        Options oOptions;
        oOptions.m_strTable = a_strTable;
        oOptions.m_oKey = cfgctl::parseAssignments(a_oKey);
        oOptions.m_oValues = cfgctl::parseAssignments(a_oValues);
        oOptions.m_oAccessTimeout = std::chrono::milliseconds(0);
        return oOptions;
    }
    std::string add(const std::string& a_strTable, const std::vector<std::string>& a_oValues)
    {
        return run(cfgctl::runAdd, on(a_strTable, {}, a_oValues));
    }
    Options fromFile(const std::string& a_strJson)
    {
        Options oOptions = on("");
        oOptions.m_strFile = m_oFolder.write("import.json", a_strJson);
        return oOptions;
    }

    LiveService m_oService;
    Folder m_oFolder;
};

} // namespace

TEST_F(Commands, ErrorsSayWhatWasRefusedAndWhy)
{
    add("DNSClientServer", {"Interface=ppp0"});
    add("DNSClientServer", {"Interface=ppp0"});
    add("StatusNetifWatch", {"Name=ppp0"});
    EXPECT_THAT(refused(cfgctl::runShow, on("Nix")), HasSubstr("'cfgctl tables'"));
    EXPECT_THAT(refused(cfgctl::runAdd, on("StatusNetifWatch", {}, {"Name=ppp0"})),
                HasSubstr("already has a row with Name 'ppp0'"));
    EXPECT_THAT(refused(cfgctl::runAdd, on("etl", {}, {"serial_no=x"})), HasSubstr("exactly one row"));
    EXPECT_THAT(refused(cfgctl::runSet, on("DynDns", {"Id=9"}, {"Retry=1"})), HasSubstr("no row with Id=9"));
    EXPECT_THAT(refused(cfgctl::runSet, on("DynDns", {"Password=geheim"}, {"Retry=1"})), Not(HasSubstr("geheim")));
    EXPECT_THAT(refused(cfgctl::runDelete, on("DNSClientServer", {"Interface=ppp0"})),
                HasSubstr("name one by its Id: 1, 2"));
}

TEST_F(Commands, WaitForWriteAccessAndNameItsHolder)
{
    auto pHolder = std::make_unique<cfgctl::Session>(m_oService.getSocket());
    ASSERT_EQ(pHolder->getClient().getdbaccess(), 0U);
    EXPECT_THAT(refused(cfgctl::runAdd, on("DynDns", {}, {"Retry=1"})),
                testing::AllOf(HasSubstr("cfgctl"), HasSubstr("--wait")));
    Options oWaiting = on("DynDns", {}, {"Retry=1"});
    oWaiting.m_oAccessTimeout = std::chrono::seconds(20);
    auto oAdded = std::async(std::launch::async, [&] { return run(cfgctl::runAdd, oWaiting); });
    EXPECT_EQ(oAdded.wait_for(std::chrono::milliseconds(150)), std::future_status::timeout);
    pHolder.reset();
    EXPECT_EQ(oAdded.get(), "1\n");
}

TEST_F(Commands, ExportAndImportRoundTrip)
{
    add("DynDns", {"Hostname=a", "Password=geheim"});
    add("DynDns", {"Hostname=b"});
    Options oAll = on("");
    oAll.m_bAll = oAll.m_bShowSecrets = true;
    const std::string strAll = run(cfgctl::runExport, oAll);
    EXPECT_THAT(strAll, HasSubstr("geheim"));
    const std::string strSettings = run(cfgctl::runExport, on(""));
    run(cfgctl::runDelete, on("DynDns", {"Hostname=b"}));
    run(cfgctl::runSet, on("DynDns", {"Hostname=a"}, {"Hostname=c"}));
    add("DynDns", {"Hostname=d"});
    run(cfgctl::runSet, on("etl", {"Id=1"}, {"serial_no=S1"}));
    EXPECT_EQ(run(cfgctl::runImport, fromFile(strSettings)),
              "DynDns: 1 added, 1 changed, 1 deleted, 0 unchanged\n"
              "DNSRelay: 0 added, 0 changed, 0 deleted, 1 unchanged\n"
              "DNSClientServer: 0 added, 0 changed, 0 deleted, 0 unchanged\n"
              "etl: 0 added, 1 changed, 0 deleted, 0 unchanged\n");
    EXPECT_EQ(run(cfgctl::runExport, oAll), strAll);
}

TEST_F(Commands, ExportLeavesOutRowsOfOtherProgramsUnlessAsked)
{
    add("StatusNetifWatch", {"Name=ppp0"});
    add("DNSClientServer", {"Interface=ppp0", "IPAddress=192.0.2.1", "Origin=netifwatch"});
    add("DNSClientServer", {"Interface=ppp1", "IPAddress=192.0.2.2"});
    const auto oUsersOnly = testing::AllOf(HasSubstr("192.0.2.2"), Not(HasSubstr("192.0.2.1")));
    Options oNamed = on("");
    oNamed.m_oTables = {"DNSClientServer"};
    EXPECT_THAT(run(cfgctl::runExport, oNamed), oUsersOnly);
    EXPECT_THAT(run(cfgctl::runExport, on("")), testing::AllOf(oUsersOnly, Not(HasSubstr("StatusNetifWatch"))));
    Options oAll = on("");
    oAll.m_bAll = true;
    EXPECT_THAT(run(cfgctl::runExport, oAll), testing::AllOf(HasSubstr("192.0.2.1"), HasSubstr("StatusNetifWatch")));
    // An import keeps the watcher's rows, except one whose Id the file gives to a user's row, as a file exported before
    // the column existed may do.
    run(cfgctl::runImport, fromFile(R"({"DNSClientServer":[]})"));
    EXPECT_THAT(run(cfgctl::runShow, on("DNSClientServer")),
                testing::AllOf(HasSubstr("192.0.2.1"), Not(HasSubstr("192.0.2.2"))));
    run(cfgctl::runImport, fromFile(R"({"DNSClientServer":[{"Id":1,"Interface":"ppp0","IPAddress":"192.0.2.3"}]})"));
    EXPECT_THAT(run(cfgctl::runShow, on("DNSClientServer", {"Origin="})), HasSubstr("192.0.2.3"));
    EXPECT_THAT(run(cfgctl::runShow, on("DNSClientServer")), Not(HasSubstr("192.0.2.1")));
}

TEST_F(Commands, ImportIsAtomic)
{
    add("StatusNetifWatch", {"Name=ppp0"});
    add("StatusNetifWatch", {"Name=ppp1"});
    Options oAll = on("");
    oAll.m_bAll = true;
    const std::string strBefore = run(cfgctl::runExport, oAll);
    const std::string strGood =
        R"({"DynDns":[{"Hostname":"a"}],"StatusNetifWatch":[{"Id":1,"Name":"ppp1"},{"Id":2,"Name":"ppp)";
    EXPECT_THAT(refused(cfgctl::runImport, fromFile(strGood + "1\"}]}")),
                HasSubstr("already has a row with Name 'ppp1'"));
    EXPECT_THAT(refused(cfgctl::runImport, fromFile(strGood)), HasSubstr("import.json: line 1"));
    EXPECT_EQ(run(cfgctl::runExport, oAll), strBefore);
    run(cfgctl::runImport, fromFile(strGood + "0\"}]}")); // two rows swap a unique name
    EXPECT_THAT(run(cfgctl::runShow, on("StatusNetifWatch", {"Name=ppp0"})), HasSubstr("\n 2  ppp0"));
}

TEST_F(Commands, AccountIsAddedListedAndChanged)
{
    Options oAdd = on("");
    oAdd.m_oAccount.m_oSpec.m_strInterface = "nix0";
    oAdd.m_oAccount.m_oSpec.m_strHost = "home.example.org";
    oAdd.m_oAccount.m_strProvider = "namecheap";
    oAdd.m_oAccount.m_oSpec.m_strZone = "example.org";
    oAdd.m_oAccount.m_bDryRun = true;
    EXPECT_THAT(run(cfgctl::runAccountAdd, oAdd), HasSubstr("?host=home&domain=example.org&password=<password>"));
    oAdd.m_bJson = true;
    oAdd.m_oAccount.m_strPasswordFile = m_oFolder.write("password", "geheim");
    EXPECT_THAT(run(cfgctl::runAccountAdd, oAdd), HasSubstr(R"("Password":"********"})"));
    oAdd.m_bJson = false;
    EXPECT_EQ(run(cfgctl::runShow, on("DynDns")).find("home"), std::string::npos);
    oAdd.m_oAccount.m_bDryRun = false;
    oAdd.m_oAccount.m_strPasswordFile = m_oFolder.write("password", "geheim\r\n");
    EXPECT_THAT(run(cfgctl::runAccountAdd, oAdd),
                testing::ContainsRegex(
                    "Added account 1 .home.example.org. at Namecheap, through nix0.\n(.*\n)*Not ready: no update"));
    oAdd.m_oAccount.m_strProvider = "cloudflare";
    EXPECT_THAT(refused(cfgctl::runAccountAdd, oAdd), HasSubstr("wants a token in a header and JSON by PUT or PATCH"));
    const std::string strBad = m_oFolder.write("bad.json", "{}");
    oAdd.m_oAccount.m_strProviders = strBad; // it may hold the very entry
    EXPECT_THAT(refused(cfgctl::runAccountAdd, oAdd), HasSubstr("bad.json"));

    Options oOne = on("");
    oOne.m_oAccount.m_oIds = {1};
    oOne.m_oAccount.m_strProviders = strBad; // other commands carry on
    EXPECT_THAT(run(cfgctl::runAccountList, oOne), HasSubstr("\n 1  home.example.org  Namecheap  nix0       (none)"));
    EXPECT_THROW(run(cfgctl::runAccountTest, oOne), cfgctl::Exit);
    oOne.m_oAccount.m_strPasswordFile = m_oFolder.write("password", "an other");
    EXPECT_THAT(refused(cfgctl::runAccountPassword, oOne), HasSubstr("copied whole"));
    oOne.m_oAccount.m_strPasswordFile = m_oFolder.write("password", "another");
    EXPECT_THAT(run(cfgctl::runAccountPassword, oOne), HasSubstr("was changed"));
    EXPECT_EQ(run(cfgctl::runShow, on("DynDns", {"Password=another"})).substr(0, 3), "Id ");
    oOne.m_oAccount.m_strAccount = "home.example.org";
    oOne.m_oAccount.m_oChange.m_strHost = "www.example.org";
    oOne.m_oAccount.m_strProviders.clear();
    const std::string strChanged = run(cfgctl::runAccountSet, oOne);
    EXPECT_THAT(strChanged, HasSubstr("Changed account 1 (home.example.org):\n"));
    EXPECT_THAT(strChanged, HasSubstr("\n  Hostname: home.example.org -> www.example.org\n  ServerAddr accordingly\n"));
    EXPECT_THAT(run(cfgctl::runShow, on("DynDns", {"Id=1"})), HasSubstr("?host=********&domain=********&"));
    EXPECT_THAT(refused(cfgctl::runAccountSet, oOne), HasSubstr("No account home.example.org"));
    oOne.m_oAccount.m_strAccount = "1";
    EXPECT_THAT(run(cfgctl::runAccountSet, oOne), HasSubstr("is like that already"));
    oOne.m_oAccount.m_oChange.m_strUser = "alice";
    EXPECT_THAT(run(cfgctl::runAccountSet, oOne), HasSubstr("The user name is ignored"));
    const std::string strBefore = run(cfgctl::runExport, on(""));
    EXPECT_THAT(refused(cfgctl::runAccountUpdate, on("")), HasSubstr("No daemon is connected"));
    EXPECT_EQ(run(cfgctl::runSet, on("DynDns", {"UpdateRequests=1"}, {"UpdateRequests=0"})), "");
    EXPECT_EQ(run(cfgctl::runExport, on("")), strBefore); // nothing else has changed
    EXPECT_THAT(run(cfgctl::runAccountDisable, oOne), HasSubstr("is now disabled"));
    EXPECT_THAT(run(cfgctl::runAccountUpdate, on("")), HasSubstr("No account is enabled"));
    EXPECT_THAT(run(cfgctl::runExport, on("")), Not(HasSubstr("\"UpdateRequests\": 1")));
    EXPECT_THAT(run(cfgctl::runAccountDisable, oOne), HasSubstr("was already disabled"));
    run(cfgctl::runSet, on("DynDns", {"Id=1"}, {"Hostname=\x1b[2J"}));
    EXPECT_THAT(run(cfgctl::runAccountEnable, oOne), HasSubstr("(\\x1b[2J) is now enabled"));
}

TEST_F(Commands, AccountsOfAnotherClientAreAddedOnceAndOnlyIfWanted)
{
    Options oImport = on("");
    oImport.m_strFile = m_oFolder.write("ddclient.conf",
                                        "server=dynupdate.no-ip.com, login=alice, password='ge&heim'\n"
                                        "a.example, b.example, a.example\n");
    EXPECT_THAT(refused(cfgctl::runAccountImport, oImport), HasSubstr("3 accounts of the file left out"));
    oImport.m_oAccount.m_oSpec.m_strInterface = "nix0";
    EXPECT_THAT(refused(cfgctl::runAccountImport, oImport), HasSubstr("Nothing was written; --yes adds 2 accounts"));
    EXPECT_EQ(add("DynDns", {"Hostname=c.example"}), "1\n");
    oImport.m_oAccount.m_bYes = true;
    const std::string strTable = run(cfgctl::runAccountImport, oImport);
    EXPECT_THAT(strTable, testing::ContainsRegex(" 2 +a.example +No-IP +alice +nix0 +added as 2"));
    EXPECT_THAT(strTable, testing::ContainsRegex(" 2 +b.example +No-IP +alice +nix0 +added as 3"));
    EXPECT_THAT(strTable, Not(HasSubstr("heim")));
    oImport.m_bJson = true;
    EXPECT_THAT(run(cfgctl::runAccountImport, oImport),
                HasSubstr("\"Result\": \"exists\",\n    \"Id\": 3,\n    \"Reason\": null\n"));
    Options oShow = on("DynDns");
    oShow.m_bShowSecrets = oShow.m_bJson = true;
    EXPECT_THAT(run(cfgctl::runShow, oShow), HasSubstr("\"Password\": \"ge&heim\""));
    oImport.m_bJson = oImport.m_oAccount.m_bYes = false;
    oImport.m_oAccount.m_oSpec.m_strInterface = "ppp0";
    const std::string strPage = contentOf(CFGCTL_GETTING_STARTED);
    const std::string strExample = strPage.substr(strPage.find("```openwrt\n") + 11);
    oImport.m_strFile = m_oFolder.write("ddns", strExample.substr(0, strExample.find("```")));
    cfgctl::Session oSession(m_oService.getSocket());
    cfgctl::Database oDatabase(oSession.getClient());
    testing::internal::CaptureStdout();
    const std::string strReason =
        reasonOf<Failure>([&] { static_cast<void>(cfgctl::runAccountImport(oDatabase, oImport)); });
    const std::string strShown = testing::internal::GetCapturedStdout() + "cfgctl: " + strReason;
    EXPECT_NE(strPage.find(strShown), std::string::npos) << strShown;
    oImport.m_strFile = m_oFolder.write("empty.conf", "use=if\n");
    EXPECT_THAT(refused(cfgctl::runAccountImport, oImport), HasSubstr("empty.conf: it has no account"));
}
