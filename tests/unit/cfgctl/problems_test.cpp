#include "cfgctl/account/attempts.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/logrows.h"
#include "platform/common/localtime.h"
#include "tests/unit/cfgctl/readyaccount.h"

#include <gmock/gmock.h>

using namespace cfgctl;
using quorvad::EInterfaceState;
using testing::HasSubstr;
using testing::Not;

namespace
{

std::string stamp(std::time_t a_iTime)
{
    return platform::formatLocalTime(a_iTime, platform::g_acIsoFormat);
}

/// A row of DynDnsLog, of account 1.
korrin::ValueList
logRow(const std::string& a_strId, std::time_t a_iTime, const std::string& a_strCode, const std::string& a_strText)
{
    korrin::ValueList oRow =
        makeRow("Id=" + a_strId + " DynDnsId=1 ResponseCode=" + a_strCode + " Timestamp=" + stamp(a_iTime));
    oRow.add("Response", platform::text(a_strText));
    return oRow;
}

} // namespace

TEST(Problems, EachIsFoundWithANextStep)
{
    const auto reasons = [](const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
    {
        std::string strText;
        for (const Problem& oProblem : findProblems(a_oAccount, a_oSources))
        {
            EXPECT_FALSE(oProblem.m_strCode.empty());
            EXPECT_FALSE(oProblem.m_strNext.empty());
            EXPECT_EQ(oProblem.m_bStops, !oProblem.m_strBrief.empty());
            strText += (oProblem.m_bStops ? "stop " : "warn ") + oProblem.m_strWhat + "|";
        }
        EXPECT_THAT(strText, Not(HasSubstr("geheim")));
        return strText;
    };
    EXPECT_EQ(reasons(g_oReady, sources()), "");
    const std::vector<std::tuple<const char*, std::string, const char*>> oCases{
        {"Enable", "0", "stop The account is disabled"},
        {"Interface", "", "stop No interface is set"},
        {"Interface", "ppp1", "stop Interface 'ppp1' is not monitored: it is not in StatusNetifWatch"},
        {"ServiceType", "x", "stop Unknown ServiceType 'x'"},
        {"Retry", "0", "stop Retry is"},
        {"ServerAddr", "", "cannot be used"},
        {"ServerAddr",
         "https://h.example/?a=<foo>&k=<password>",
         "warn The update URL, once filled in, looks wrong: unknown placeholder <foo>"},
        {"ServerAddr", "h.example/?k=<password>", "warn The URL is not https"},
        {"ServerAddr", "https://h.example/?k=<password>&6=<ipaddr6>", "warn Interface 'ppp0' has no IPv6 address"},
        {"ServerAddr", "https://h.example/", "warn The password is never sent"},
        {"Password", "ge heim", "stop The update URL, once filled in, cannot be used: it contains a blank"},
        {"Password", "<serial>\ngeheim", "stop The update URL"},
        {"Password", "", "warn No password is set"},
        {"AccountUserName", "a:b", "warn The user name contains ':'"},
        {"ExpectedResultSubString", "a\nb", "warn The expected text"},
    };
    for (const auto& [pColumn, strValue, pReason] : oCases)
    {
        EXPECT_THAT(reasons(change(g_oReady, pColumn, strValue), sources()), HasSubstr(pReason)) << pColumn << strValue;
    }
    EXPECT_THAT(reasons(g_oReady, sources("")), HasSubstr("warn Interface 'ppp0' has no IPv4 address"));
    EXPECT_THAT(reasons(g_oReady, sources("", "0")), testing::StartsWith("stop Interface 'ppp0' is down"));
    StatusSources oHere = sources();
    oHere.m_oLocal = {{"eth0", {}}, {"ppp0", {EInterfaceState::eDown, {"192.0.2.7", "fe80::1"}}}};
    EXPECT_THAT(reasons(g_oReady, oHere), HasSubstr("stop Interface 'ppp0' is down or has no carrier"));
    // One cause, one problem, and the names that would do.
    EXPECT_EQ(reasons(change(g_oReady, "Interface", "eht0"), oHere),
              "stop Interface 'eht0' does not exist; this machine has eth0, ppp0|");
    oHere.m_oLocal["ppp0"].m_eState = EInterfaceState::eRunning;
    oHere.m_oLocal["eth1"].m_eState = EInterfaceState::eDown;
    oHere.m_oClients = {makeRow("Name=cfgctl"), makeRow("Name=quorvad")};
    EXPECT_THAT(reasons(g_oReady, oHere),
                testing::AllOf(testing::StartsWith("warn No watcher"), Not(HasSubstr("stop"))));
    EXPECT_EQ(reasons(change(g_oReady, "Interface", "eth1"), oHere),
              "stop Interface 'eth1' is not monitored: no watcher (netifwatch) is connected|");
    oHere.m_oInterfaces = {makeRow("Name=ppp0 Addr=192.0.2.6 IsUp=1")};
    EXPECT_THAT(reasons(g_oReady, oHere),
                testing::StartsWith(
                    "stop Row and kernel differ, as no watcher (netifwatch) is connected: the IPv4 address of ppp0 "
                    "is 192.0.2.6 in the table and 192.0.2.7 in the kernel"));
    oHere.m_oClients = {makeRow("Name=netifwatch")};
    EXPECT_EQ(reasons(g_oReady, oHere), "stop No daemon (quorvad) is connected to the service, so nothing is sent|");
    StatusSources oRefused = sources();
    oRefused.m_oStatus = {makeRow("DynDnsId=1 Success=0 Timestamp=" + stamp(1))};
    oRefused.m_oLog = {logRow("1", 1, "403", "go away")};
    EXPECT_THAT(reasons(g_oReady, oRefused),
                HasSubstr("warn At the last try, the provider refused the user name or the password"));
    StatusSources oWithout = sources();
    oWithout.m_oServers.clear();
    EXPECT_THAT(reasons(g_oReady, oWithout), HasSubstr("stop Interface 'ppp0' has no DNS server"));
    // Anything that c-ares accepts is fine, including a port and a trailing comma.
    const auto withServer = [](const std::string& a_strServer)
    {
        StatusSources oSources = sources();
        oSources.m_oServers = {makeRow("Enable=1 Interface=ppp0 IPAddress=" + a_strServer)};
        return oSources;
    };
    const korrin::ValueList oGnudip = change(change(g_oReady, "ServiceType", "gnudip"), "AccountUserName", "bob");
    EXPECT_THAT(reasons(oGnudip, sources()), HasSubstr("stop Hostname does not begin with the user name"));
    const korrin::ValueList oGoodGnudip = change(oGnudip, "Hostname", "bob.example");
    for (const char* pServer : {"10.99.0.50:53", "[2001:db8::53]:53", "192.0.2.53,"})
    {
        EXPECT_EQ(reasons(g_oReady, withServer(pServer)), "") << pServer;
        EXPECT_EQ(reasons(oGoodGnudip, withServer(pServer)), "") << pServer;
    }
    EXPECT_THAT(reasons(g_oReady, withServer("dns.example")), HasSubstr("warn The DNS servers of interface 'ppp0'"));
    EXPECT_THAT(reasons(oGoodGnudip, withServer("dns.example")), HasSubstr("stop The DNS servers of interface 'ppp0'"));
    EXPECT_THAT(reasons(oGoodGnudip, sources("192.168.1.2")), HasSubstr("warn The IPv4 address to be announced"));
    EXPECT_THAT(reasons(g_oReady, sources("100.127.255.255")), HasSubstr("is shared"));
    StatusSources oInside = sources("10.0.0.1");
    oInside.m_oIPv6 = {makeRow("Name=ppp0 Addr=fd00::1")};
    const korrin::ValueList oIPv6Only = change(g_oReady, "ServerAddr", "https://h.example/?k=<password>&6=<ipaddr6>");
    EXPECT_THAT(reasons(oIPv6Only, oInside), testing::StartsWith("warn The IPv6 address to be announced, fd00::1"));
    for (const char* pPublic : {"9.255.255.255", "172.32.0.1", "100.128.0.0"})
    {
        EXPECT_EQ(reasons(g_oReady, sources(pPublic)), "") << pPublic;
    }
}

// The expected text may lie beyond the stored excerpt of a reply; then only the status row can tell.
TEST(Outcome, ComesFromTheStatusRowOrForOlderAttemptsFromTheExcerpt)
{
    constexpr std::time_t iLast = 1800000000;
    const std::string strCut(200, 'x');
    const auto outcomes = [](const StatusSources& a_oSources)
    {
        std::string strOutcomes;
        for (const korrin::ValueList& oRow : makeLogRows(a_oSources, 0, 0, iLast))
        {
            strOutcomes += oRow.getValue("Outcome").getText() + " ";
        }
        return strOutcomes;
    };
    StatusSources oSources;
    oSources.m_oAccounts = {g_oReady};
    oSources.m_oStatus = {makeRow("DynDnsId=1 Success=1 Timestamp=" + stamp(iLast))};
    oSources.m_oLog = {logRow("1", iLast - 400, "200", "good 192.0.2.7"),
                       logRow("2", iLast - 300, "200", "badauth"),
                       logRow("3", iLast - 200, "200", strCut),
                       logRow("4", iLast - 100, "0", "Connection error: " + strCut),
                       logRow("5", iLast, "200", strCut)};
    EXPECT_EQ(outcomes(oSources), "updated failed unknown failed updated ");
    EXPECT_THAT(renderLog(makeLogRows(oSources, 0, 2, iLast), {}), HasSubstr("  unknown   200  xxx"));
    oSources.m_oStatus = {change(oSources.m_oStatus.front(), "Success", "0")};
    EXPECT_EQ(outcomes(oSources), "updated failed unknown failed failed ");
    oSources.m_oAccounts.clear();
    EXPECT_EQ(outcomes(oSources), "unknown unknown unknown unknown failed ");
    EXPECT_THAT(renderLog(makeLogRows(oSources, 0, 4, iLast), {}), HasSubstr("account is gone"));
    oSources.m_oAccounts = {change(g_oReady, "ServiceType", "gnudip")};
    EXPECT_EQ(outcomes(oSources), "failed failed failed updated failed ");
    oSources.m_oAccounts = {change(g_oReady, "UnchangedResultSubString", "bada")};
    EXPECT_EQ(outcomes(oSources), "updated unchanged unknown failed failed ");
    oSources.m_oLog.back() = logRow("5", iLast, "200", "badauth");
    EXPECT_EQ(outcomes(oSources), "updated unchanged unknown failed failed "); // judged before the text was set
    oSources.m_oStatus = {change(oSources.m_oStatus.front(), "Success", "1")};
    EXPECT_EQ(judgeLast(oSources.m_oAccounts.front(), oSources), Outcome::Unchanged);
    oSources.m_oLog.pop_back();
    EXPECT_EQ(judgeLast(oSources.m_oAccounts.front(), oSources), Outcome::Updated); // its log row has gone
}
