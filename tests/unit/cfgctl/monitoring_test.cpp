#include "cfgctl/monitoring.h"
#include "platform/common/localtime.h"
#include "platform/common/values.h"
#include "tests/unit/config/memoryclient.h"

#include <gmock/gmock.h>

using namespace cfgctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr std::time_t s_iNow = 1800000000;

/// Account 1 succeeded 500 s ago; account 2 is disabled.
StatusSources wellSources()
{
    const auto account = [](const std::string& a_strRow)
    {
        return makeRow(a_strRow + " Interface=ppp0 ServiceType=update-url Retry=3 Password=geheim AccountUserName=al "
                                  "ServerAddr=https://h.example/ ExpectedResultSubString=good");
    };
    StatusSources oSources;
    oSources.m_oAccounts = {account("Id=1 Enable=1 Hostname=a.example"),
                            account("Id=2 Enable=0 Hostname=b\"\\.example")};
    oSources.m_oInterfaces = {makeRow("Name=ppp0 Addr=192.0.2.7 IsUp=1")};
    oSources.m_oServers = {makeRow("Enable=1 Interface=ppp0 IPAddress=192.0.2.53")};
    oSources.m_oClients = {makeRow("Name=netifwatch"),
                           makeRow("Name=quorvad RunningSeconds=9000 ConnectedSeconds=9000")};
    return oSources;
}

void addAttempt(StatusSources& a_oSources, int a_iAgo, const std::string& a_strAnswer)
{
    const std::string strStamp = platform::formatLocalTime(s_iNow - a_iAgo, platform::g_acIsoFormat);
    const std::string strSuccess = a_strAnswer == "good" ? "1" : "0";
    a_oSources.m_oLog.push_back(
        makeRow("DynDnsId=1 ResponseCode=200 Timestamp=" + strStamp + " Response=" + a_strAnswer));
    a_oSources.m_oStatus = {makeRow("DynDnsId=1 Timestamp=" + strStamp + " Success=" + strSuccess)};
}

std::string judge(const StatusSources& a_oSources, std::optional<std::time_t> a_oMaxAge = {})
{
    const Health oHealth = judgeHealth(makeStates(a_oSources, s_iNow), a_oSources, a_oMaxAge, s_iNow);
    return std::to_string(static_cast<int>(oHealth.m_eHealth)) + " " + oHealth.m_strText;
}

} // namespace

TEST(Health, IsOneLineWithAnExitStatus)
{
    StatusSources oSources = wellSources();
    EXPECT_EQ(judge(oSources), "1 failing: 1 of 2 accounts: a.example overdue for 2 hours: see quorvad's log");
    addAttempt(oSources, 500, "good");
    EXPECT_EQ(judge(oSources), "0 well: 2 accounts, 1 disabled");
    EXPECT_EQ(judge(oSources, 500), "0 well: 2 accounts, 1 disabled");
    EXPECT_EQ(judge(oSources, 499), "1 failing: 1 of 2 accounts: a.example last success 8 minutes ago");
    addAttempt(oSources, 5, "geheim\x1b-is-wrong");
    EXPECT_EQ(judge(oSources), "1 failing: 1 of 2 accounts: a.example failed just now (********\\x1b-is-wrong)");
    oSources.m_oInterfaces.clear();
    EXPECT_THAT(judge(oSources), HasSubstr("a.example waits for interface ppp0"));
    oSources.m_oClients.pop_back();
    EXPECT_EQ(judge(oSources), "2 missing: no daemon (quorvad) is connected");
    oSources.m_oClients = {makeRow("Name=cfgctl")};
    EXPECT_THAT(judge(oSources), HasSubstr("quorvad) is connected; no watcher"));
    oSources.m_oClients.clear(); // a service that does not tell
    EXPECT_THAT(judge(oSources), testing::StartsWith("1 "));
}

TEST(Metrics, AreInPrometheusForm)
{
    StatusSources oSources = wellSources();
    addAttempt(oSources, 500, "good");
    addAttempt(oSources, 5, "bad");
    const std::string strText = makeMetrics(makeStates(oSources, s_iNow), oSources);
    const std::string strFirst = "{account=\"1\",hostname=\"a.example\",interface=\"ppp0\"} ";
    EXPECT_THAT(
        strText,
        testing::AllOf(HasSubstr("# TYPE quorvad_daemon_up gauge\nquorvad_daemon_up 1\n"),
                       HasSubstr("\nquorvad_account_last_success" + strFirst + "0\n# HELP"),
                       HasSubstr("\nquorvad_account_last_success_timestamp_seconds" + strFirst + "1799999500\n"),
                       HasSubstr("\nquorvad_account_next_seconds" + strFirst + "140\n"),
                       HasSubstr("_enabled{account=\"2\",hostname=\"b\\\"\\\\x5c.example\",interface=\"ppp0\"} 0\n"),
                       Not(HasSubstr("geheim"))));
    for (std::string strRest = strText; !strRest.empty(); strRest.erase(0, strRest.find('\n') + 1))
    {
        EXPECT_THAT(strRest.substr(0, strRest.find('\n')),
                    testing::MatchesRegex("(# (HELP|TYPE) quorvad_[a-z_]+ .+|quorvad_[a-z_]+(\\{.+\\})? [0-9]+)"));
    }
    oSources.m_oClients.clear();
    EXPECT_THAT(makeMetrics(makeStates(oSources, s_iNow), oSources), Not(HasSubstr("daemon_up")));
}
