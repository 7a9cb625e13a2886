#include "cfgctl/account/accountchange.h"
#include "cfgctl/account/accountplan.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/resend.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "platform/common/values.h"
#include "tests/unit/cfgctl/expect.h"
#include "tests/unit/cfgctl/readyaccount.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/support/folder.h"

#include <gmock/gmock.h>

using namespace cfgctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

const Providers& shipped()
{
    static const Providers s_oProviders = parseProviders(contentOf(CFGCTL_SHIPPED_PROVIDERS));
    return s_oProviders;
}

/// Those that the daemon can serve.
const Providers& served()
{
    static const Providers s_oServed = []
    {
        Providers oProviders = shipped();
        const auto isRefused = [](const Provider& a_oProvider) { return !a_oProvider.m_strRefusal.empty(); };
        oProviders.erase(std::remove_if(oProviders.begin(), oProviders.end(), isRefused), oProviders.end());
        return oProviders;
    }();
    return s_oServed;
}

AccountSpec makeAccount(const std::string& a_strHost = "home.example.org", const std::string& a_strUser = "alice")
{
    AccountSpec oSpec;
    oSpec.m_strHost = a_strHost;
    oSpec.m_strUser = a_strUser;
    oSpec.m_strInterface = "ppp0";
    return oSpec;
}

} // namespace

// Every entry of the shipped file must yield a row that the daemon can use.
TEST(ShippedProviders, EachYieldsAUsableRow)
{
    ASSERT_GE(served().size(), 40U);
    for (const Provider& oProvider : served())
    {
        for (const bool bDual : {false, true})
        {
            AccountSpec oSpec = makeAccount();
            oSpec.m_bDual = bDual;
            oSpec.m_strZone = hasPlaceholder(oProvider.m_strUrl, "<zone>") ? "example.org" : "";
            if (bDual && oProvider.m_strUrlDual.empty())
            {
                continue;
            }
            AccountPlan oPlan = planAccount(oProvider, oSpec);
            const std::string strPassword = oProvider.m_bEncode ? "a&b#c d%<serial>\u00e4" : "abc-123";
            oPlan.m_oRow.add("Password", platform::text(preparePassword(oPlan, strPassword)));
            StatusSources oSources = sources();
            oSources.m_oIPv6 = {makeRow("Name=ppp0 Addr=2001:db8::7")};
            EXPECT_THAT(findProblems(oPlan.m_oRow, oSources), testing::IsEmpty()) << oProvider.m_strKey;
            const std::string strUrl = quorvad::fillPlaceholders(oPlan.m_oRow.getValue("ServerAddr").getText(),
                                                                 urlValuesOf(oPlan.m_oRow, oSources));
            EXPECT_EQ(recogniseProvider(served(), oPlan.m_oRow), &oProvider) << oProvider.m_strKey;
            EXPECT_EQ(strUrl.find('<'), std::string::npos) << strUrl;
            EXPECT_EQ(strUrl.find("2001:db8::7") != std::string::npos, bDual) << strUrl;
            EXPECT_EQ(oPlan.m_oRow.getValue("AccountUserName").getText().empty(), oProvider.m_eSignIn == SignIn::Url);
            EXPECT_EQ(oPlan.m_oRow.getValue("UnchangedResultSubString").getText(), oProvider.m_strUnchanged);
        }
    }
}

TEST(ProviderFile, ErrorsNameTheEntry)
{
    const auto entry = [](const std::string& a_strMore)
    { return R"({"providers":[{"key":"a","auth":"basic","url":"https://a.example/?ip=<ipaddr>")" + a_strMore + "}]}"; };
    EXPECT_EQ(parseProviders(entry("")).size(), 1U);
    EXPECT_EQ(providersToJson(parseProviders(providersToJson(shipped()))), providersToJson(shipped()));
    const std::vector<std::pair<std::string, const char*>> oCases{
        {"", "not valid JSON"},
        {std::string(100000, '['), "nested too deeply"},
        {"[]", "must be {\"providers\""},
        {R"({"providers":[{"key":"a"}]})", "entry 1 ('a') has no 'auth'"},
        {R"({"providers":[{"key":"a","refusal":""}]})", "entry 1 ('a') has no 'auth'"},
        {entry(R"(,"urldual":"x")"), "entry 1 ('a') has an unknown field 'urldual'"},
        {entry(R"(,"name":"\u001b[2J")"), "'name' contains a control character"},
        {entry(R"(,"retry":0)"), "'retry' must be a whole number"},
        {entry(R"(,"sure":1)"), "'sure' must be true or false"},
        {entry(R"(,"auth":"x")"), "given twice"},
        {entry(R"(,"urlDual":"https://a.example/<ip>")"), "'urlDual' cannot be used: unknown placeholder <ip>"},
        {entry(R"(,"urlDual":"http://a.example/")"), "does not begin with https://"},
        {entry(R"(},{"key":"a","auth":"gnudip","url":"g.example")"), "entry 2 ('a') repeats the key"},
        {entry(R"(},{"key":"b","auth":"gnudip","url":"g.example:99")"),
         "entry 2 ('b') 'url', the server of a gnudip provider"},
        {entry(R"(},{"key":"B ","auth":"x","url":"")"), "'key' must be up to 40"},
    };
    for (const auto& [strJson, pReason] : oCases)
    {
        EXPECT_THAT(reasonOf<Failure>([&, &strText = strJson] { (void)parseProviders(strText); }), HasSubstr(pReason));
    }
}

TEST(ProviderFile, LaterFilesReplaceEntriesAndUnusableFilesAreSkipped)
{
    const Folder oFolder;
    const std::string strGood = oFolder.write(
        "good.json",
        R"({"providers":[{"key":"noip","auth":"gnudip","url":"mine.example"},{"key":"own","auth":"url","url":"https://o.example/"}]})");
    const ProviderList oList = loadProviders(strGood);
    ASSERT_NE(findProvider(oList.m_oProviders, "own"), nullptr);
    EXPECT_EQ(findProvider(oList.m_oProviders, "noip")->m_strUrl, "mine.example");
    const ProviderList oBad = loadProviders(oFolder.write("bad.json", "{"));
    EXPECT_THAT(oBad.m_oComplaints, testing::ElementsAre(HasSubstr("Cannot use provider file '")));
    EXPECT_NE(findProvider(oBad.m_oProviders, "noip"), nullptr);
    EXPECT_THAT(loadProviders(oFolder / "nix").m_oComplaints, testing::ElementsAre(HasSubstr("No such file")));
}

TEST(AccountPlan, RefusesWhatCannotWork)
{
    const auto provider = [](const char* a_pKey) { return *findProvider(shipped(), a_pKey); };
    const auto with = [](AccountSpec a_oSpec, auto a_oChange)
    {
        a_oChange(a_oSpec);
        return a_oSpec;
    };
    const auto dual = [](AccountSpec& a_oSpec) { a_oSpec.m_bDual = true; };
    const auto zone = [](AccountSpec& a_oSpec) { a_oSpec.m_strZone = "example.net"; };
    const auto answers = [](const char* a_pExpect, const char* a_pUnchanged)
    {
        return [=](AccountSpec& a_oSpec)
        {
            a_oSpec.m_strExpect = a_pExpect;
            a_oSpec.m_strUnchanged = a_pUnchanged;
        };
    };
    const auto on = [](const char* a_pInterface)
    { return [a_pInterface](AccountSpec& a_oSpec) { a_oSpec.m_strInterface = a_pInterface; }; };
    const std::vector<std::tuple<Provider, AccountSpec, const char*>> oCases = {
        {provider("noip"), makeAccount("home.example.org", ""), "needs a user name"},
        {provider("noip"), makeAccount("home.example.org", "a:b"), "must not contain ':'"},
        {provider("noip"), makeAccount("home.example.org", "a\nb"), "control character"},
        {provider("noip"), makeAccount("https://home.example.org/"), "is a URL"},
        {provider("noip"), makeAccount("h\u00f6me.example.org"), "xn--"},
        {provider("noip"), makeAccount("home..example.org"), "empty label"},
        {provider("noip"), makeAccount("home&x.example.org"), "only letters"},
        {provider("noip"), makeAccount("-x.example.org"), "'-'"},
        {provider("noip"), makeAccount(std::string(64, 'a') + ".example.org"), "63"},
        {provider("noip"), makeAccount(""), "is empty"},
        {provider("noip"), with(makeAccount(), on("0123456789abcdef")), "15 bytes"},
        {provider("noip"), with(makeAccount(), on("../x")), "not a valid interface name"},
        {provider("noip"), with(makeAccount(), zone), "omit --zone"},
        {provider("ovh"), with(makeAccount(), dual), "omit --dual"},
        {provider("namecheap"), makeAccount(), "--zone"},
        {provider("namecheap"), with(makeAccount(), zone), "is not below the zone"},
        {provider("noip"), with(makeAccount(), answers("", "nochg")), "has no effect"},
        {provider("noip"), with(makeAccount(), answers("good", "a\nb")), "control character"},
        {makeGnudipProvider("g.example"),
         with(makeAccount("bob.example.org", "bob"), answers("", "")),
         "omit --expect and --unchanged"},
        {makeGnudipProvider("g.example"), makeAccount("home.example.org", "bob"), "does not begin with 'bob.'"},
        {makeGnudipProvider("g.example"), with(makeAccount("bob.example.org", "bob"), dual), "IPv4 address only"},
    };
    for (const auto& oCase : oCases)
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)planAccount(std::get<0>(oCase), std::get<1>(oCase)); }),
                    HasSubstr(std::get<2>(oCase)));
    }
    for (const char* pUrl : {"h.example/?ip=<ipaddr>",
                             "ftp://h.example/",
                             "https:///?x",
                             "https://h.example/a b",
                             "https://h.example/#x",
                             "https://h.example/?a=%4",
                             "https://h.example/?a=<ip>",
                             "https://h.example/?a=\u00e4"})
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)makeOwnProvider(pUrl, true); }), HasSubstr("cannot be used")) << pUrl;
    }
}

TEST(AccountPlan, PutsSecretsWhereTheProviderExpectsThem)
{
    // URL, user name, password; ServerAddr, AccountUserName, Password (null: refused)
    using Text = const char*;
    const std::vector<std::tuple<Text, std::string, Text, Text, Text, Text>> oCases = {
        {"https://h/?ip=<ipaddr>", "al ice", "p&<serial>", "https://h/?ip=<ipaddr>", "al ice", "p&<serial>"},
        {"https://h/?k=<password>", "", "p&<serial>", "https://h/?k=<password>", "", "p%26%3Cserial%3E"},
        {"https://h/?u=<username>&k=<password>", "a@b", "x%", "https://h/?u=a%40b&k=<password>", "", "x%25"},
        {"https://h/?k=<password>", "bob", "plain-1", "https://h/?k=<password>", "bob", "plain-1"},
        {"https://h/?k=<password>", "bob", "p&q", "https://h/?k=<password>", "bob", nullptr},
        {"https://h/", "bob", "", "https://h/", "bob", nullptr},
        {"https://h/", "bob", "a\tb", "https://h/", "bob", nullptr},
    };
    for (const auto& [pUrl, strUser, pPassword, pServerAddr, pUserColumn, pPasswordColumn] : oCases)
    {
        AccountPlan oPlan = planAccount(makeOwnProvider(pUrl, !strUser.empty()), makeAccount("a.example", strUser));
        EXPECT_EQ(oPlan.m_oRow.getValue("ServerAddr").getText(), pServerAddr);
        EXPECT_EQ(oPlan.m_oRow.getValue("AccountUserName").getText(), pUserColumn);
        if (pPasswordColumn != nullptr)
        {
            EXPECT_EQ(preparePassword(oPlan, pPassword), pPasswordColumn);
            continue;
        }
        EXPECT_THROW((void)preparePassword(oPlan, pPassword), Failure);
    }
    // A token of a known form is never altered to fit, and no message repeats it.
    AccountPlan oPlan = planAccount(*findProvider(shipped(), "duckdns"), makeAccount());
    EXPECT_THAT(reasonOf<Failure>([&] { (void)preparePassword(oPlan, "ge heim"); }),
                testing::AllOf(HasSubstr("copied whole"), Not(HasSubstr("heim"))));
    EXPECT_THAT(oPlan.m_oNotes, testing::Contains(HasSubstr("The user name is ignored")));
    oPlan = planAccount(*findProvider(shipped(), "noip"), makeAccount());
    fitToColumns(makeRow("Hostname="), oPlan); // of a service without the column
    EXPECT_FALSE(oPlan.m_oRow.hasValue("UnchangedResultSubString"));
    EXPECT_THAT(oPlan.m_oNotes.back(), HasSubstr("\"nochg\" counts as a failure"));
    AccountSpec oApex = makeAccount("example.org");
    oApex.m_strZone = "example.org";
    EXPECT_THAT(planAccount(*findProvider(shipped(), "namecheap"), oApex).m_oRow.getValue("ServerAddr").getText(),
                HasSubstr("?host=@&domain=example.org&"));
}

TEST(AccountPlan, UnchangedTextStandsBesideAnExpectedOne)
{
    const auto texts = [](std::optional<std::string> a_strExpect, std::optional<std::string> a_strUnchanged)
    {
        AccountSpec oSpec = makeAccount();
        oSpec.m_strExpect = std::move(a_strExpect);
        oSpec.m_strUnchanged = std::move(a_strUnchanged);
        const korrin::ValueList oRow = planAccount(*findProvider(shipped(), "noip"), oSpec).m_oRow;
        return textOf(oRow, "ExpectedResultSubString") + "|" + textOf(oRow, "UnchangedResultSubString");
    };
    EXPECT_EQ(texts({}, {}), "good|nochg");
    EXPECT_EQ(texts("OK", {}), "OK|nochg");
    EXPECT_EQ(texts({}, ""), "good|");
    EXPECT_EQ(texts("", {}), "|");
}

// A change of host and user must give what the account would have been made of with them.
TEST(AccountChange, EqualsAnAccountMadeAfresh)
{
    std::size_t uiSame = 0;
    for (const Provider& oProvider : served())
    {
        for (const bool bDual : {false, true})
        {
            AccountSpec oSpec = makeAccount("home.example.org", oProvider.m_bUserIsHost ? "" : "al ice");
            oSpec.m_strZone = hasPlaceholder(oProvider.m_strUrl, "<zone>") ? "example.org" : "";
            oSpec.m_bDual = bDual && !oProvider.m_strUrlDual.empty();
            korrin::ValueList oRow = planAccount(oProvider, oSpec).m_oRow;
            AccountChange oChange;
            oChange.m_strHost = oSpec.m_strHost = "www.example.org";
            if (!oSpec.m_strUser.empty())
            {
                oChange.m_strUser = oSpec.m_strUser = "b&b";
            }
            for (const auto& [strColumn, oValue] : planChange(oRow, &oProvider, oChange).m_oColumns)
            {
                oRow = change(oRow, strColumn.c_str(), oValue.getText());
            }
            for (const auto& [strColumn, oValue] : planAccount(oProvider, oSpec).m_oRow)
            {
                EXPECT_EQ(textOf(oRow, strColumn), oValue.getText()) << oProvider.m_strKey << strColumn;
                ++uiSame;
            }
        }
    }
    EXPECT_GE(uiSame, 2 * 40 * 9U);
}

TEST(AccountChange, TouchesNothingElse)
{
    const korrin::ValueList oOwn = change(g_oReady, "AccountUserName", "bob");
    const korrin::ValueList oGnudip =
        change(change(change(oOwn, "ServiceType", "gnudip"), "ServerAddr", "g.example"), "Hostname", "bob.example");
    korrin::ValueList oBroken = change(change(oOwn, "Hostname", "not a host"), "ServerAddr", "no URL");
    oBroken = change(oBroken, "UnchangedResultSubString", "nochg");
    using Change = void (*)(AccountChange&);
    const Change host = [](AccountChange& a_oChange) { a_oChange.m_strHost = "b.example"; };
    const Change user = [](AccountChange& a_oChange) { a_oChange.m_strUser = "eve"; };
    const Change colon = [](AccountChange& a_oChange) { a_oChange.m_strUser = "e:e"; };
    const Change interface = [](AccountChange& a_oChange) { a_oChange.m_strInterface = "ppp1"; };
    const Change noText = [](AccountChange& a_oChange) { a_oChange.m_strExpect = ""; };
    const Change unchanged = [](AccountChange& a_oChange) { a_oChange.m_strUnchanged = "same"; };
    const std::vector<std::tuple<korrin::ValueList, Change, const char*>> oCases{
        {oOwn, host, "Hostname=b.example "},
        {oOwn, user, "AccountUserName=eve "},
        {oOwn, colon, "must not contain ':'"},
        {g_oReady, user, "where that is cannot be told"},
        {g_oReady, unchanged, "UnchangedResultSubString=same "},
        {change(g_oReady, "ExpectedResultSubString", ""), unchanged, "has no effect"},
        {oGnudip, user, "does not begin with 'eve.'"},
        {oGnudip, unchanged, "answers with a code"},
        {oBroken, interface, "Interface=ppp1 "},
        {oBroken, noText, "ExpectedResultSubString= While no text"},
    };
    for (const auto& [oRow, pChange, pExpected] : oCases)
    {
        AccountChange oChange;
        pChange(oChange);
        std::string strText;
        try
        {
            const ChangePlan oPlan = planChange(oRow, recogniseProvider(shipped(), oRow), oChange);
            for (const auto& [strColumn, oValue] : oPlan.m_oColumns)
            {
                strText += strColumn + "=" + oValue.getText() + " ";
            }
            strText += oPlan.m_oNotes.empty() ? "" : oPlan.m_oNotes.front();
            EXPECT_THAT(strText, testing::StartsWith(pExpected));
        }
        catch (const Failure& oError)
        {
            EXPECT_THAT(oError.what(), HasSubstr(pExpected));
        }
    }
}

TEST(Resend, NamesTheOthersThatTheDaemonSendsAgain)
{
    StatusSources oSources = sources();
    for (const char* pId : {"1", "2", "3"})
    {
        oSources.m_oAccounts.push_back(change(g_oReady, "Id", pId));
    }
    const auto told = [&] { return describeResend(oSources, shipped(), {"1"}); };
    EXPECT_THAT(told(), testing::AllOf(HasSubstr(" 2 others follow within 75 seconds."), Not(HasSubstr("block"))));
    oSources.m_oAccounts.back() =
        change(oSources.m_oAccounts.back(), "ServerAddr", findProvider(shipped(), "noip")->m_strUrl);
    EXPECT_THAT(told(), HasSubstr("No-IP may block"));
    for (korrin::ValueList& oAccount : oSources.m_oAccounts)
    {
        oAccount = textOf(oAccount, "Id") == "2" ? change(oAccount, "Enable", "0") : oAccount;
    }
    EXPECT_THAT(told(), HasSubstr(" 1 other follows "));
    StatusSources oUsersOnly = oSources;
    oUsersOnly.m_oRelay = {makeRow("Enable=1 EnableUserProvidedDnsServer=1 UserProvidedDnsServerMode=1")};
    EXPECT_EQ(describeResend(oUsersOnly, shipped(), {"1"}), "");
    oSources.m_oServers = {makeRow("Enable=1 Interface=ppp1 IPAddress=192.0.2.53")};
    EXPECT_EQ(told(), "");
}
