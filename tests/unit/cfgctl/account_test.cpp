#include "cfgctl/account/accountplan.h"
#include "cfgctl/account/nameservers.h"
#include "cfgctl/account/nextstep.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/account/providerfile.h"
#include "cfgctl/account/report.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "cfgctl/timestamp.h"
#include "tests/unit/cfgctl/expect.h"
#include "tests/unit/support/folder.h"

#include <gmock/gmock.h>

using namespace cfgctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

using Columns = std::vector<std::pair<const char*, std::string>>;

korrin::ValueList rowOf(const Columns& a_oColumns)
{
    korrin::ValueList oRow;
    for (const auto& [pColumn, strValue] : a_oColumns)
    {
        oRow.add(pColumn, korrin::Value(korrin::eValueText, strValue));
    }
    return oRow;
}

korrin::ValueList change(korrin::ValueList a_oRow, const char* a_pColumn, const std::string& a_strValue)
{
    a_oRow.remove(a_pColumn);
    a_oRow.add(a_pColumn, korrin::Value(korrin::eValueText, a_strValue));
    return a_oRow;
}

const Providers& shipped()
{
    static const Providers s_oProviders = parseProviders(contentOf(CFGCTL_SHIPPED_PROVIDERS));
    return s_oProviders;
}

AccountSpec wish(const std::string& a_strHost = "home.example.org", const std::string& a_strUser = "alice")
{
    AccountSpec oSpec;
    oSpec.m_strHost = a_strHost;
    oSpec.m_strUser = a_strUser;
    oSpec.m_strInterface = "ppp0";
    return oSpec;
}

/// One account that is ready on an interface that is up, and the tables around it.
const korrin::ValueList s_oReady = rowOf({{"Id", "1"},
                                          {"Enable", "1"},
                                          {"Interface", "ppp0"},
                                          {"ServiceType", "update-url"},
                                          {"ServerAddr", "https://h.example/?h=<domain>&k=<password>&ip=<ipaddr>"},
                                          {"Hostname", "a.example"},
                                          {"AccountUserName", ""},
                                          {"Password", "geheim"},
                                          {"ExpectedResultSubString", "good"},
                                          {"Retry", "3"}});

StatusSources sources(const std::string& a_strAddress = "192.0.2.7", const std::string& a_strUp = "1")
{
    StatusSources oSources;
    oSources.m_oInterfaces = {rowOf({{"Name", "ppp0"}, {"Addr", a_strAddress}, {"IsUp", a_strUp}})};
    oSources.m_oServers = {rowOf({{"Enable", "1"}, {"Interface", "ppp0"}, {"IPAddress", "192.0.2.53"}})};
    return oSources;
}

} // namespace

// Whatever the file says of a provider must become a row that the daemon can use.
TEST(ShippedProviders, EachOneMakesAUsableRow)
{
    ASSERT_GE(shipped().size(), 41U);
    for (const Provider& oProvider : shipped())
    {
        for (const bool bDual : {false, true})
        {
            AccountSpec oSpec = wish();
            oSpec.m_bDual = bDual;
            oSpec.m_strZone = hasPlaceholder(oProvider.m_strUrl, "<zone>") ? "example.org" : "";
            if (bDual && oProvider.m_strUrlDual.empty())
            {
                continue;
            }
            AccountPlan oPlan = planAccount(oProvider, oSpec);
            const std::string strPassword = oProvider.m_bEncode ? "a&b#c d%<serial>\u00e4" : "abc-123";
            oPlan.m_oRow.add("Password",
                             korrin::Value(korrin::eValueText, preparePassword(oPlan, strPassword, oPlan.m_oNotes)));
            StatusSources oSources = sources();
            oSources.m_oIPv6 = {rowOf({{"Name", "ppp0"}, {"Addr", "2001:db8::7"}})};
            EXPECT_THAT(findProblems(oPlan.m_oRow, oSources, InterfaceState::Running), testing::IsEmpty())
                << oProvider.m_strKey;
            const std::string strUrl = resolveUrl(oPlan.m_oRow, oSources, &oProvider, true);
            EXPECT_EQ(strUrl.find('<'), std::string::npos) << strUrl;
            EXPECT_EQ(strUrl.find("2001:db8::7") != std::string::npos, bDual) << strUrl;
            EXPECT_EQ(oPlan.m_oRow.getValue("AccountUserName").getText().empty(), oProvider.m_eSignIn == SignIn::Url);
            EXPECT_EQ(oProvider.m_bSure, oProvider.m_strDoubt.empty()) << oProvider.m_strKey;
            if (!oProvider.m_strUnchanged.empty())
            {
                EXPECT_LE(oPlan.m_oRow.getValue("Retry").getInteger(), 2) << oProvider.m_strKey;
                EXPECT_THAT(oPlan.m_oNotes, testing::Contains(HasSubstr("counts as a failed try")));
            }
        }
    }
}

TEST(ProviderFile, FaultsAreNamedWithTheirEntry)
{
    const auto entry = [](const std::string& a_strMore)
    { return R"({"providers":[{"key":"a","auth":"basic","url":"https://a.example/?ip=<ipaddr>")" + a_strMore + "}]}"; };
    EXPECT_EQ(parseProviders(entry("")).size(), 1U);
    EXPECT_EQ(providersToJson(parseProviders(providersToJson(shipped()))), providersToJson(shipped()));
    const std::vector<std::pair<std::string, const char*>> oCases{
        {"", "no JSON at byte"},
        {std::string(100000, '['), "nested deeper"},
        {R"({"providers":[{"key":)" + std::string(2000, '{'), "no JSON"},
        {R"({"providers":[{"key":[[1]]}]})", "nested deeper"},
        {"[]", "must be {\"providers\""},
        {R"({"providers":[7]})", "entry 1 must be an object"},
        {R"({"providers":[{"key":"a"}]})", "entry 1 ('a') has no 'auth'"},
        {entry(R"(,"urldual":"x")"), "entry 1 ('a') has an unknown field 'urldual'"},
        {entry(R"(,"name":"\u001b[2J")"), "'name' has a control character"},
        {entry(R"(,"retry":0)"), "'retry' must be a whole number"},
        {entry(R"(,"retry":99999999999999999999)"), "'retry' must be a whole number"},
        {entry(R"(,"retry":1e999)"), "out of range"},
        {entry(R"(,"sure":1)"), "'sure' must be true or false"},
        {entry(R"(,"auth":"x")"), "the field 'auth' is given twice"},
        {entry(R"(,"urlDual":"https://a.example/<ip>")"), "'urlDual' can't be used: nobody fills in <ip>"},
        {entry(R"(,"urlDual":"http://a.example/")"), "doesn't begin with https://"},
        {entry(R"(},{"key":"a","auth":"gnudip","url":"g.example")"), "entry 2 ('a') has the key of an entry before"},
        {entry(R"(},{"key":"b","auth":"gnudip","url":"g.example:99")"), "entry 2 ('b') 'url' of a gnudip provider"},
        {entry(R"(},{"key":"B ","auth":"url","url":"")"), "'key' must be up to 40"},
        {entry(",\"name\":\"\xff\""), "no JSON at byte"},
    };
    for (const auto& [strJson, pReason] : oCases)
    {
        EXPECT_THAT(reasonOf<Failure>([&, &strText = strJson] { (void)parseProviders(strText); }), HasSubstr(pReason));
    }
}

TEST(ProviderFile, LaterFilesReplaceEntriesAndFaultyOnesAreLeftOut)
{
    const Folder oFolder;
    const std::string strGood = oFolder.write(
        "good.json",
        R"({"providers":[{"key":"noip","auth":"gnudip","url":"mine.example"},{"key":"own","auth":"url","url":"https://o.example/"}]})");
    const ProviderList oList = loadProviders(strGood);
    ASSERT_NE(findProvider(oList.m_oProviders, "own"), nullptr);
    EXPECT_EQ(findProvider(oList.m_oProviders, "noip")->m_strUrl, "mine.example");
    const ProviderList oBad = loadProviders(oFolder.write("bad.json", "{"));
    EXPECT_THAT(oBad.m_oComplaints, testing::ElementsAre(HasSubstr("bad.json' can't be used: it is no JSON")));
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
    const auto on = [](const char* a_pInterface)
    { return [a_pInterface](AccountSpec& a_oSpec) { a_oSpec.m_strInterface = a_pInterface; }; };
    struct
    {
        Provider m_oProvider;
        AccountSpec m_oWish;
        const char* m_pReason;
    } aoCases[] = {
        {provider("noip"), wish("home.example.org", ""), "wants a user name"},
        {provider("noip"), wish("home.example.org", "a:b"), "can't have a ':'"},
        {provider("noip"), wish("home.example.org", "a\nb"), "control character"},
        {provider("noip"), wish("https://home.example.org/"), "is a URL"},
        {provider("noip"), wish("h\u00f6me.example.org"), "xn--"},
        {provider("noip"), wish("home..example.org"), "empty part"},
        {provider("noip"), wish("home.example.org."), "empty part"},
        {provider("noip"), wish("home&x.example.org"), "only letters"},
        {provider("noip"), wish("<password>.example.org"), "only letters"},
        {provider("noip"), wish("-x.example.org"), "'-'"},
        {provider("noip"), wish(std::string(64, 'a') + ".example.org"), "63"},
        {provider("noip"), wish(""), "is empty"},
        {provider("noip"), with(wish(), on("0123456789abcdef")), "15 bytes"},
        {provider("noip"), with(wish(), on("../x")), "no name that an interface can have"},
        {provider("noip"), with(wish(), on("")), "is empty"},
        {provider("noip"), with(wish(), zone), "leave --zone out"},
        {provider("ovh"), with(wish(), dual), "leave --dual out"},
        {provider("namecheap"), wish(), "--zone"},
        {provider("namecheap"), with(wish(), zone), "is not below the zone"},
        {makeGnudipProvider("g.example"), wish("home.example.org", "bob"), "doesn't begin with 'bob.'"},
        {makeGnudipProvider("g.example"), wish("bob.", "bob"), "empty part"},
        {makeGnudipProvider("g.example"), with(wish("bob.example.org", "bob"), dual), "IPv4 address only"},
    };
    for (const auto& oCase : aoCases)
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)planAccount(oCase.m_oProvider, oCase.m_oWish); }),
                    HasSubstr(oCase.m_pReason));
    }
    for (const char* pUrl : {"h.example/?ip=<ipaddr>",
                             "ftp://h.example/",
                             "https:///?x",
                             "https://h.example/a b",
                             "https://h.example/#x",
                             "https://h.example/?a=%4",
                             "https://h.example/?a=<ip>",
                             "https://h.example/?a=<",
                             "https://h.example/?a=\u00e4"})
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)makeOwnProvider(pUrl, true); }), HasSubstr("can't be used")) << pUrl;
    }
}

TEST(AccountPlan, SecretsGoWhereTheProviderLooksForThem)
{
    struct
    {
        const char* m_pUrl;
        const char* m_pUser;
        const char* m_pPassword;
        const char* m_pServerAddr;
        const char* m_pUserColumn;
        const char* m_pPasswordColumn; ///< null: refused
    } aoCases[] = {
        {"https://h/?ip=<ipaddr>", "al ice", "p&<serial>", "https://h/?ip=<ipaddr>", "al ice", "p&<serial>"},
        {"https://h/?k=<password>", "", "p&<serial>", "https://h/?k=<password>", "", "p%26%3Cserial%3E"},
        {"https://h/?u=<username>&k=<password>", "a@b", "x%", "https://h/?u=a%40b&k=<password>", "", "x%25"},
        {"https://h/?k=<password>", "bob", "plain-1", "https://h/?k=<password>", "bob", "plain-1"},
        {"https://h/?k=<password>", "bob", "p&q", "https://h/?k=<password>", "bob", nullptr},
        {"https://h/", "bob", "", "https://h/", "bob", nullptr},
        {"https://h/", "bob", "a\tb", "https://h/", "bob", nullptr},
    };
    for (const auto& oCase : aoCases)
    {
        const std::string strUser = oCase.m_pUser;
        AccountPlan oPlan = planAccount(makeOwnProvider(oCase.m_pUrl, !strUser.empty()), wish("a.example", strUser));
        EXPECT_EQ(oPlan.m_oRow.getValue("ServerAddr").getText(), oCase.m_pServerAddr);
        EXPECT_EQ(oPlan.m_oRow.getValue("AccountUserName").getText(), oCase.m_pUserColumn);
        if (oCase.m_pPasswordColumn != nullptr)
        {
            EXPECT_EQ(preparePassword(oPlan, oCase.m_pPassword, oPlan.m_oNotes), oCase.m_pPasswordColumn);
            continue;
        }
        EXPECT_THROW((void)preparePassword(oPlan, oCase.m_pPassword, oPlan.m_oNotes), Failure);
    }
    // A token of a known form isn't bent into shape, and no message repeats it.
    AccountPlan oPlan = planAccount(*findProvider(shipped(), "duckdns"), wish());
    EXPECT_THAT(reasonOf<Failure>([&] { (void)preparePassword(oPlan, "ge heim", oPlan.m_oNotes); }),
                testing::AllOf(HasSubstr("copied whole"), Not(HasSubstr("heim"))));
    EXPECT_THAT(oPlan.m_oNotes, testing::Contains(HasSubstr("The user name is left out")));
    AccountSpec oApex = wish("example.org");
    oApex.m_strZone = "example.org";
    EXPECT_THAT(planAccount(*findProvider(shipped(), "namecheap"), oApex).m_oRow.getValue("ServerAddr").getText(),
                HasSubstr("?host=@&domain=example.org&"));
}

TEST(Nameservers, FollowTheDaemonsRules)
{
    const Rows oServers{rowOf({{"Enable", "1"}, {"Interface", "ppp0"}, {"IPAddress", "10.0.0.1"}}),
                        rowOf({{"Enable", "1"}, {"Interface", "PPP0"}, {"IPAddress", "10.0.0.2"}}),
                        rowOf({{"Enable", "0"}, {"Interface", "ppp0"}, {"IPAddress", "10.0.0.3"}}),
                        rowOf({{"Enable", "2"}, {"Interface", "ppp0"}, {"IPAddress", "fd00::4"}})};
    const auto relay = [](const char* a_pEnable, const char* a_pUser, const char* a_pMode, const char* a_pSecond)
    {
        return Rows{rowOf({{"Enable", a_pEnable},
                           {"EnableUserProvidedDnsServer", a_pUser},
                           {"UserProvidedDnsServerMode", a_pMode},
                           {"PrimaryServerIp", "9.9.9.9"},
                           {"SecondaryServerIp", a_pSecond}})};
    };
    const auto choose = [&](const Rows& a_oRelay) { return chooseNameservers("ppp0", a_oRelay, oServers); };
    using List = std::vector<std::string>;
    EXPECT_EQ(choose({}), (List{"10.0.0.1", "fd00::4"}));
    EXPECT_EQ(choose(relay("0", "1", "1", "1.1.1.1")), (List{"10.0.0.1", "fd00::4"}));
    EXPECT_EQ(choose(relay("1", "1", "0", "1.1.1.1")), (List{"10.0.0.1", "fd00::4", "9.9.9.9", "1.1.1.1"}));
    EXPECT_EQ(choose(relay("1", "1", "1", "")), (List{"9.9.9.9", ""}));
    EXPECT_EQ(findNameserverFault({"9.9.9.9", ""}), "");
    EXPECT_THAT(findNameserverFault({"", "9.9.9.9"}), HasSubstr("empty address"));
    EXPECT_THAT(findNameserverFault({"dns.example"}), HasSubstr("no plain address"));
    EXPECT_THAT(findNameserverFault({}), HasSubstr("no DNS server"));
}

TEST(Problems, EachFaultIsFoundWithItsNextStep)
{
    const auto reasons = [](const korrin::ValueList& a_oAccount,
                            const StatusSources& a_oSources,
                            InterfaceState a_eState = InterfaceState::Running)
    {
        std::string strText;
        for (const Problem& oProblem : findProblems(a_oAccount, a_oSources, a_eState))
        {
            EXPECT_FALSE(oProblem.m_strNext.empty());
            EXPECT_EQ(oProblem.m_bStops, !oProblem.m_strBrief.empty());
            strText += (oProblem.m_bStops ? "stop " : "warn ") + oProblem.m_strWhat + "|";
        }
        EXPECT_THAT(strText, Not(HasSubstr("geheim")));
        return strText;
    };
    EXPECT_EQ(reasons(s_oReady, sources()), "");
    const std::vector<std::tuple<const char*, std::string, const char*>> oCases{
        {"Enable", "0", "stop The account is disabled"},
        {"Interface", "", "stop It follows no interface"},
        {"Interface", "ppp1", "stop Nobody tells of interface 'ppp1'"},
        {"ServiceType", "x", "stop Its ServiceType 'x'"},
        {"Retry", "0", "stop Its Retry"},
        {"ServerAddr", "", "can't be used"},
        {"ServerAddr", "https://h.example/?a=<foo>&k=<password>", "warn Its update URL, once filled in, may not mean"},
        {"ServerAddr", "h.example/?k=<password>", "warn Its URL is not https"},
        {"ServerAddr", "https://h.example/?k=<password>&6=<ipaddr6>", "warn Interface 'ppp0' has no IPv6 address"},
        {"ServerAddr", "https://h.example/", "warn Its password is sent nowhere"},
        {"Password", "ge heim", "stop Its update URL, once filled in, can't be used: it has a blank"},
        {"Password", "<serial>\ngeheim", "stop Its update URL"},
        {"Password", "", "warn It has no password"},
        {"AccountUserName", "a:b", "warn Its user name has a ':'"},
        {"ExpectedResultSubString", "a\nb", "warn Its expected text"},
    };
    for (const auto& [pColumn, strValue, pReason] : oCases)
    {
        EXPECT_THAT(reasons(change(s_oReady, pColumn, strValue), sources()), HasSubstr(pReason)) << pColumn << strValue;
    }
    EXPECT_THAT(reasons(s_oReady, sources("")), HasSubstr("warn Interface 'ppp0' has no IPv4 address"));
    EXPECT_THAT(reasons(s_oReady, sources("", "0")), testing::StartsWith("stop Interface 'ppp0' is down"));
    EXPECT_THAT(reasons(s_oReady, sources(), InterfaceState::Missing), HasSubstr("stop This machine has no interface"));
    EXPECT_THAT(reasons(s_oReady, sources(), InterfaceState::Down), HasSubstr("stop The kernel says"));
    StatusSources oWithout = sources();
    oWithout.m_oServers.clear();
    EXPECT_THAT(reasons(s_oReady, oWithout), HasSubstr("stop For interface 'ppp0' there is no DNS server"));
    const korrin::ValueList oGnudip = change(change(s_oReady, "ServiceType", "gnudip"), "AccountUserName", "bob");
    EXPECT_THAT(reasons(oGnudip, sources()), HasSubstr("stop Its Hostname must be the user name"));
    const korrin::ValueList oGoodGnudip = change(oGnudip, "Hostname", "bob.example");
    EXPECT_EQ(reasons(oGoodGnudip, sources()), "");
    EXPECT_THAT(reasons(oGoodGnudip, sources("192.168.1.2")), HasSubstr("warn The IPv4 address that it announces"));
    EXPECT_THAT(reasons(s_oReady, sources("100.127.255.255")), HasSubstr("is shared"));
    StatusSources oInside = sources("10.0.0.1");
    oInside.m_oIPv6 = {rowOf({{"Name", "ppp0"}, {"Addr", "fd00::1"}})};
    const korrin::ValueList oIPv6Only = change(s_oReady, "ServerAddr", "https://h.example/?k=<password>&6=<ipaddr6>");
    EXPECT_THAT(reasons(oIPv6Only, oInside), testing::StartsWith("warn The IPv6 address that it announces, fd00::1"));
    for (const char* pPublic : {"9.255.255.255", "172.15.0.1", "172.32.0.1", "100.128.0.0", "192.167.0.1"})
    {
        EXPECT_EQ(reasons(s_oReady, sources(pPublic)), "") << pPublic;
    }
}

TEST(Report, ShowsTheUrlWithoutSecrets)
{
    korrin::ValueList oRow =
        change(s_oReady, "ServerAddr", "https://h.example/?sys=1&k=geheim&p=<password>&h=<domain>");
    Provider oProvider;
    oProvider.m_strUrl = "https://h.example/?sys=1&k=<username>&p=<password>";
    EXPECT_EQ(resolveUrl(oRow, sources(), &oProvider, false),
              "https://h.example/?sys=1&k=********&p=********&h=a.example");
    EXPECT_EQ(resolveUrl(oRow, sources(), nullptr, false),
              "https://h.example/?sys=********&k=********&p=********&h=a.example");
    EXPECT_EQ(resolveUrl(oRow, sources(), nullptr, true), "https://h.example/?sys=1&k=geheim&p=geheim&h=a.example");
}

TEST(NextStep, TellsWhatTheTablesTell)
{
    constexpr std::time_t iNow = 1800000000;
    // Seconds before now at which the account's tries were logged, a success as a negative number; the last one
    // decides.
    const auto next = [&](const std::vector<int>& a_oTries, const char* a_pSuccess = "0")
    {
        StatusSources oSources = sources();
        for (const int iAgo : a_oTries)
        {
            oSources.m_oLog.push_back(rowOf({{"DynDnsId", "1"},
                                             {"Timestamp", formatTimestamp(iNow - std::abs(iAgo))},
                                             {"ResponseCode", "200"},
                                             {"Response", iAgo < 0 ? "good 192.0.2.7" : "badauth"}}));
        }
        if (!a_oTries.empty())
        {
            oSources.m_oStatus = {rowOf({{"DynDnsId", "1"}, {"Success", a_pSuccess}})};
        }
        return describeNext(s_oReady, oSources, iNow);
    };
    EXPECT_THAT(next({}), HasSubstr("first update within two minutes"));
    EXPECT_EQ(next({-500}, "1"), "nothing until the address changes");
    EXPECT_EQ(next({5}), "tries again within 3 minutes");        // the first of three
    EXPECT_EQ(next({130, 10}), "tries again within 5 minutes");  // the second
    EXPECT_THAT(next({400, 280, 20}), HasSubstr("no try left")); // the third
    EXPECT_EQ(next({-130, 10}), "tries again within 3 minutes"); // a new series after a success
    EXPECT_THAT(next({9000, 3000}), HasSubstr("overdue"));       // nothing came after a first try
    EXPECT_EQ(next({145}), "tries again within a minute");
    EXPECT_EQ(next({-1000, -3600, 0}), "tries again within 3 minutes");
    EXPECT_EQ(describeNext(change(s_oReady, "Enable", "0"), sources(), iNow), "nothing: disabled");
    EXPECT_EQ(describeNext(s_oReady, sources("", "0"), iNow), "waits until ppp0 is up");
}
