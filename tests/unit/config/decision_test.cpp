#include "actions/curlaction.h"
#include "actions/gnudipaction.h"
#include "tests/unit/config/handlerfixture.h"

#include <atomic>
#include <future>
#include <regex>
#include <thread>

using quorvad::CurlAction;
using quorvad::GnudipAction;
using quorvad::Scheduler;
using testing::Contains;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace
{

/// Fails every try once its gate has opened; without a gate, at once.
struct GatedAction : quorvad::Action
{
    explicit GatedAction(std::shared_future<void> a_oGate) : m_oGate(std::move(a_oGate)) {}
    bool execute() override
    {
        m_bEntered = true;
        m_oGate.valid() ? m_oGate.wait_for(30s) : std::future_status::ready;
        return false;
    }
    std::shared_future<void> m_oGate;
    std::atomic<bool> m_bEntered{false};
};

bool waitFor(const std::atomic<bool>& a_bFlag)
{
    for (int iTick = 0; iTick < 1000 && !a_bFlag; ++iTick)
    {
        std::this_thread::sleep_for(10ms);
    }
    return a_bFlag;
}

} // namespace

TEST_F(HandlerTest, EachChangeDispatchesItsAccounts)
{
    EXPECT_THAT(process(), IsEmpty());
    EXPECT_THAT(m_oLines, Contains("debug No config data cached."));
    notify("DynDns");
    EXPECT_THAT(process(), ElementsAre(1, 2, 4));
    m_oHandler.m_oSchedulers.clear();
    EXPECT_THAT(process(), IsEmpty()) << "a change is acted on once";
    const std::tuple<const char*, const char*, const char*, std::vector<int>> aoSteps[] = {
        {"StatusNetifWatch", "1", "Addr=10.1.1.9", {1, 2}},
        {"StatusNetifWatch", "1", "Addr=10.1.1.9", {}},
        {"StatusNetifWatch", "1", "Mtu=1400", {}},
        {"StatusNetifWatch", "1", "IsUp=0", {}},
        {"StatusNetIfIPv6Addresses", "1", "Addr=2001:db8::2", {}}, // used up while down
        {"StatusNetifWatch", "1", "IsUp=1", {1, 2}},
        {"StatusNetIfIPv6Addresses", "1", "Addr=2001:db8::3", {1, 2}},
        {"DNSRelay", "1", "EnableUserProvidedDnsServer=1", {}}, // relay off
        {"DNSRelay", "1", "Enable=1", {1, 2, 4}},
        {"DNSClientServer", "1", "IPAddress=10.0.0.9", {1, 2, 4}}, // every row is rebuilt
        {"DNSRelay", "1", "UserProvidedDnsServerMode=1", {1, 2, 4}},
        {"DNSClientServer", "1", "IPAddress=10.0.0.8", {}}, // user servers only
        {"DynDns", "4", "Password=new", {4}},
        {"DynDns", "4", "ServiceType=other", {}},
        {"DNSRelay", "1", "EnableUserProvidedDnsServer=0", {}},
        {"DynDns", "4", "ServiceType=gnudip", {1, 2, 4}},
        {"DNSClientServer", "2", "Enable=0", {1, 2}},
        {"DynDns", "1", "Enable=0", {2}},
    };
    for (const auto& [pTable, pId, pCell, oDispatched] : aoSteps)
    {
        change(pTable, pId, pCell);
        m_oHandler.m_oSchedulers.clear();
        EXPECT_EQ(process(), oDispatched) << pTable << " " << pCell;
    }
}

TEST_F(HandlerTest, RemovesSchedulersThatBecameStale)
{
    // With the user's servers alone in force, a change of one account dispatches only that account.
    rows("DNSRelay") = {makeRow("Enable=1 EnableUserProvidedDnsServer=1 UserProvidedDnsServerMode=1 "
                                "PrimaryServerIp=9.9.9.9 SecondaryServerIp=1.1.1.1")};
    notify("DynDns");
    process();
    m_oHandler.m_oSchedulers.emplace(3, std::make_unique<Scheduler>(60, 1, nullptr));
    m_oHandler.m_oSchedulers.emplace(7, std::make_unique<Scheduler>(60, 0, nullptr));
    m_oHandler.m_oSchedulers.at(7)->stop();
    change("StatusNetifWatch", "1", "IsUp=0");
    EXPECT_THAT(process(), ElementsAre(4));
    EXPECT_THAT(m_oLines, Contains("debug Remove scheduled action for config id 3 because iface is down."));
    EXPECT_THAT(m_oLines, Contains("debug Scheduled Action id 7 finished"));
    change("DynDns", "1", "Retry=1");
    EXPECT_THAT(process(), ElementsAre(1, 4)) << "a changed account is updated even on a lost interface";
    change("DynDns", "1", "Enable=0");
    change("DynDns", "4", "ServiceType=other");
    EXPECT_THAT(process(), IsEmpty());
    EXPECT_THAT(m_oLines, Contains("debug Remove stale action for config id 1."));
    EXPECT_THAT(m_oLines, Contains("debug Remove old scheduler for config id '4'."));
}

// People search the log for these texts. Without the lines of the workers, which come when they like.
TEST_F(HandlerTest, LogTellsEachStep)
{
    rows("DynDns").resize(2); // one account of each kind
    rows("StatusNetIfIPv6Addresses").clear();
    const std::string strLog = logOf(
        [&]
        {
            notify("DynDns");
            m_oHandler.process();
            rows("DynDns").pop_back();
            m_oHandler.m_oDynDnsCfgs.erase(2);
            add("StatusNetIfIPv6Addresses", "Id=1 Addr=2001:db8::1 Name=ppp0");
            notify("StatusNetIfIPv6Addresses");
            m_oHandler.process();
            m_oClient.updatekey("DNSRelay", "Id", "1", makeRow("Enable=1 EnableUserProvidedDnsServer=1"));
            for (const auto& [pTable, pCell] : {std::pair("DNSClientServer", "IPAddress=10.0.0.9"),
                                                std::pair("DNSRelay", "UserProvidedDnsServerMode=1"),
                                                std::pair("StatusNetifWatch", "Addr=10.1.1.9"),
                                                std::pair("StatusNetifWatch", "IsUp=0")})
            {
                change(pTable, "1", pCell);
                m_oHandler.process();
            }
        });
    const auto replaced = [](const std::string& a_strServers)
    {
        return "debug Remove old scheduler for config id '1'.\n"
               "debug Send update for 'alice.dyn.example.org' on interface 'ppp0'...\ndebug Nameservers: " +
               a_strServers + "\ndebug Action\ndebug CurlAction\ndebug DNS servers: '" + a_strServers +
               "'\ninfo HTTPS update will be scheduled...\ndebug Built scheduler with 4 retries\n";
    };
    const std::regex oVaries("debug \\([0-9]+\\) [^\n]*\n| and [0-9]+ seconds as start period");
    const std::string strExpected = R"(debug loadFromConfig
debug Init cache with data from config tables.
debug updateCachedTables
debug Initialize DynDNS cfg id 1
debug Update DynDNS cfg id 1
debug updateSnapshot
debug Get IPv4 information for interface 'ppp0'.
debug updateSnapshot
debug Initialize DynDNS cfg id 2
debug Update DynDNS cfg id 2
debug updateSnapshot
debug Get IPv4 information for interface 'ppp0'.
debug updateSnapshot
debug loadSerialNumber
debug CPE's serial no.: A1B2
debug updateSnapshot
debug updateSnapshot
debug updateSnapshot
debug process
debug Scheduled tasks: 0
debug User config changed.
debug Interface ppp0 not found in watch6 table.
debug DynDns cfg id 1 needs action (DynDns changed)
debug User config changed.
debug Interface ppp0 not found in watch6 table.
debug DynDns cfg id 2 needs action (DynDns changed)
debug IPv4 config of iface 'ppp0' changed.
debug DynDns cfg id 1 needs action (iface 'ppp0' Ipv4 settings changed
debug DynDns cfg id 2 needs action (iface 'ppp0' Ipv4 settings changed
debug DNS relay config changed.
debug DynDns cfg id 1 needs action (DNS server changed)
debug DynDns cfg id 2 needs action (DNS server changed)
debug Send update for 'alice.dyn.example.org' on interface 'ppp0'...
debug Nameservers: 10.0.0.1
debug Action
debug CurlAction
debug DNS servers: '10.0.0.1'
info HTTPS update will be scheduled...
debug Built scheduler with 4 retries
debug Send gnudip update for 'alice.dyn.example.org' on interface 'ppp0'...
debug Nameservers: 10.0.0.1
debug Action
debug GnudipAction
debug DnsResolver
info GnuDIP update will be scheduled...
debug Built scheduler with 4 retries
debug loadFromConfig
debug Table StatusNetIfIPv6Addresses changed.
debug updateSnapshot
debug cached obj changed? YES
debug process
debug Scheduled tasks: 2
debug Check IPv6 config changes of iface 'ppp0'...
debug IPv6 config of interface 'ppp0' changed.
debug DynDns cfg id 1 needs action (iface 'ppp0' Ipv6 addr changed)
)" + replaced("10.0.0.1") + R"(debug loadFromConfig
debug updateSnapshot
debug updateSnapshot
debug process
debug Scheduled tasks: 2
debug DynDns cfg id 1 needs action (DNS server changed)
)" + replaced("10.0.0.9") + R"(debug loadFromConfig
debug updateSnapshot
debug process
debug Scheduled tasks: 2
debug DNS relay config changed.
debug Force user-defined DNS nameservers...
debug DynDns cfg id 1 needs action (user-defined nameservers changed)
)" + replaced("9.9.9.9,1.1.1.1") + R"(debug loadFromConfig
debug Table StatusNetifWatch changed.
debug updateSnapshot
debug cached obj changed? YES
debug process
debug Scheduled tasks: 2
debug IPv4 config of iface 'ppp0' changed.
debug DynDns cfg id 1 needs action (iface 'ppp0' Ipv4 settings changed
)" + replaced("9.9.9.9,1.1.1.1") + R"(debug loadFromConfig
debug Table StatusNetifWatch changed.
debug updateSnapshot
debug cached obj changed? YES
debug process
debug Scheduled tasks: 2
debug Interface 'ppp0' is down, remove possibly stale actions.
debug Remove scheduled action for config id 1 because iface is down.
)";
    EXPECT_EQ(std::regex_replace(strLog, oVaries, ""), strExpected);
}

TEST_F(HandlerTest, AccountWaitsForItsInterface)
{
    const korrin::ValueList oRow = rows("StatusNetifWatch").back();
    rows("StatusNetifWatch").pop_back();
    add("StatusNetIfIPv6Addresses", "Id=2 Addr=2001:db8::9 Name=eth0");
    notify("DynDns");
    for (int iPass = 0; iPass < 2; ++iPass)
    {
        EXPECT_THAT(process(), ElementsAre(1, 2));
        EXPECT_THAT(m_oLines, Contains("error Interface eth0 not found in watch table."));
        EXPECT_FALSE(m_oHandler.m_oNetifIPv6.at("ppp0")->m_bChanged) << "it waited for eth0";
    }
    rows("StatusNetifWatch").push_back(oRow);
    notify("StatusNetifWatch");
    EXPECT_THAT(process(), ElementsAre(1, 2, 4));

    // All rows are gone, but a change of the DNS servers still concerns the accounts.
    rows("StatusNetifWatch").clear();
    notify("StatusNetifWatch");
    notify("DNSClientServer");
    EXPECT_THAT(process(), IsEmpty());
    EXPECT_THAT(m_oHandler.m_oNetifWatch, IsEmpty()) << "a look-up added an entry";
    EXPECT_TRUE(m_oHandler.m_oDynDnsCfgs.at(1)->m_bChanged);
    change("StatusNetIfIPv6Addresses", "1", "Addr=2001:db8::2");
    process();
    EXPECT_THAT(m_oLines, Contains("debug No IPv4 info about 'ppp0' yet."));
    EXPECT_TRUE(m_oHandler.m_oNetifIPv6.at("ppp0")->m_bChanged);
}

TEST_F(HandlerTest, BuildsActionsFromTheCachedRows)
{
    rows("DynDns").front().add("UnchangedResultSubString",
                               korrin::Value(korrin::eValueText, "nochg")); // a column that the other rows lack
    notify("DynDns");
    ASSERT_THAT(process(), ElementsAre(1, 2, 4));
    const auto actionOf = [&](int a_iId) { return m_oHandler.m_oSchedulers.at(a_iId)->m_pAction.get(); };
    for (const auto& [iId, pUrl] :
         {std::pair(1, "https://h/?10.1.1.1,2001:db8::1,A1B2"), std::pair(4, "https://h/?10.1.1.2,,A1B2")})
    {
        const auto& o = dynamic_cast<CurlAction&>(*actionOf(iId));
        EXPECT_THAT(std::tie(o.m_strUrl, o.m_iDynDnsId, o.m_strExpectedResultSubString), FieldsAre(pUrl, iId, "good"));
        EXPECT_EQ(o.m_strUnchangedResultSubString, iId == 1 ? "nochg" : "");
        EXPECT_THAT(std::tie(o.m_strDomain, o.m_strUsername, o.m_strPassword, o.m_strInterface),
                    FieldsAre("alice.dyn.example.org", "alice", "secret", iId == 1 ? "ppp0" : "eth0"));
    }
    const auto& o = dynamic_cast<GnudipAction&>(*actionOf(2));
    EXPECT_THAT(
        std::tie(o.m_strServer, o.m_strLocalAddr, o.m_strHostname, o.m_strUsername, o.m_strPassword, o.m_iDynDnsId),
        FieldsAre(testing::StartsWith("https"), "10.1.1.1", "alice.dyn.example.org", "alice", "secret", 2));
    const auto oBuilt =
        testing::MatchesRegex("debug Built scheduler with 4 retries and (5[1-9]|6[0-9]|70) seconds as start period");
    EXPECT_THAT(m_oLines, Contains(oBuilt).Times(3));
}

TEST_F(HandlerTest, RefusedActionCostsOnlyItsAccount)
{
    rows("DNSClientServer").pop_back();
    change("DynDns", "2", "AccountUserName=bob");
    EXPECT_THAT(process(), ElementsAre(1));
    EXPECT_THAT(m_oLines, Contains("error Failed to send HTTPS update: 'Empty list of DNS nameservers'"));
    EXPECT_THAT(
        m_oLines,
        Contains("error Failed to send GnuDIP update (Username is part of gnuDIP domain => domain must be longer)"));
    m_oClient.find("DynDns", "Id", "1")->remove("Retry");
    notify("DynDns");
    EXPECT_THAT([&] { m_oHandler.process(); }, Asserts("m_oLastSnapshot.hasValue(a_strParamName)"));
    EXPECT_THAT(m_oHandler.m_oSchedulers, IsEmpty()) << "an empty entry was left";
}

// Otherwise each account could begin another long attempt while the loop waits for the one before it.
TEST_F(HandlerTest, RemovedAttemptsAreWaitedForTogether)
{
    for (const char* pCell : {"Addr=10.1.1.9", "IsUp=0", ""}) // the last: with their handler
    {
        auto pOwn = std::make_unique<quorvad::ConfigHandler>();
        notify("DynDns");
        m_oHandler.process();
        m_oHandler.m_oSchedulers.clear();
        std::promise<void> oOpen;
        const auto pHung = std::make_shared<GatedAction>(oOpen.get_future().share());
        const auto pBusy = std::make_shared<GatedAction>(std::shared_future<void>());
        auto& oSchedulers = (*pCell != 0 ? m_oHandler : *pOwn).m_oSchedulers;
        oSchedulers.emplace(*pCell != 0 ? 1 : 3,
                            std::make_unique<Scheduler>(0, 1, pHung)); // a map is destroyed from its end
        const auto& oBusy = *oSchedulers.emplace(2, std::make_unique<Scheduler>(0, 1000, pBusy)).first->second;
        EXPECT_TRUE(waitFor(pHung->m_bEntered));
        *pCell != 0 ? change("StatusNetifWatch", "1", pCell) : void();
        auto oRemoved = std::async(std::launch::async, [&] { *pCell != 0 ? m_oHandler.process() : pOwn.reset(); });
        EXPECT_TRUE(waitFor(oBusy.m_bFinished)) << pCell;
        oOpen.set_value();
    }
}
