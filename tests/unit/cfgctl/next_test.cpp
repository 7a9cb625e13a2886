#include "cfgctl/account/next.h"
#include "platform/common/localtime.h"
#include "platform/common/values.h"
#include "tests/unit/config/memoryclient.h"

#include <gmock/gmock.h>

using namespace cfgctl;

namespace
{

constexpr std::time_t s_iNow = 1800000000;

/// How many seconds ago things happened; negative: not at all.
struct Past
{
    std::vector<int> m_oTries; ///< oldest first; negative for a success
    int m_iDaemon = 100000;    ///< started; negative: not connected
    int m_iAccounts = -1;      ///< table DynDns changed
    int m_iInterfaces = -1;    ///< table StatusNetifWatch changed
    std::string m_strType = "update-url";
    std::string m_strServer = "ppp0"; ///< interface with a DNS server
};

korrin::ValueList changeRow(const std::string& a_strTable, int a_iAgo)
{
    return platform::row({{"Name", platform::text(a_strTable)}, {"ChangedSeconds", platform::integer(a_iAgo)}});
}

StatusSources sourcesOf(const Past& a_oPast)
{
    StatusSources oSources;
    oSources.m_oAccounts = {makeRow("Id=1 Enable=1 Interface=ppp0 Hostname=al.example AccountUserName=al Retry=3 "
                                    "ServerAddr=https://h.example/ ExpectedResultSubString=good ServiceType=" +
                                    a_oPast.m_strType)};
    oSources.m_oInterfaces = {makeRow("Name=ppp0 Addr=192.0.2.7 IsUp=1")};
    oSources.m_oServers = {makeRow("Enable=1 IPAddress=192.0.2.53 Interface=" + a_oPast.m_strServer),
                           makeRow("Enable=0 IPAddress=192.0.2.53 Interface=ppp0")};
    oSources.m_oRelay = {makeRow("Enable=1 EnableUserProvidedDnsServer=1 PrimaryServerIp=192.0.2.53")};
    oSources.m_oClients = {makeRow("Name=cfgctl"), makeRow("Name=netifwatch")};
    if (a_oPast.m_iDaemon >= 0)
    {
        const std::string strAge = std::to_string(a_oPast.m_iDaemon);
        oSources.m_oClients.push_back(makeRow("Name=quorvad ConnectedSeconds=" + strAge + " RunningSeconds=" + strAge));
    }
    oSources.m_oChanges = {changeRow("DynDns", a_oPast.m_iAccounts),
                           changeRow("StatusNetifWatch", a_oPast.m_iInterfaces)};
    for (const int iTry : a_oPast.m_oTries)
    {
        const std::string strStamp = platform::formatLocalTime(s_iNow - std::abs(iTry), platform::g_acIsoFormat);
        const std::string strCode = a_oPast.m_strType == "gnudip" ? (iTry < 0 ? "0" : "1") : "200";
        oSources.m_oLog.push_back(makeRow("DynDnsId=1 ResponseCode=" + strCode + " Timestamp=" + strStamp +
                                          " Response=" + (iTry < 0 ? "good" : "bad")));
        oSources.m_oStatus = {makeRow("DynDnsId=1 Timestamp=" + strStamp + " Success=" + (iTry < 0 ? "1" : "0"))};
    }
    return oSources;
}

std::string next(const StatusSources& a_oSources)
{
    const korrin::ValueList& oAccount = a_oSources.m_oAccounts.front();
    const Next oNext = findNext(oAccount, a_oSources, findProblems(oAccount, a_oSources), s_iNow);
    EXPECT_LE(describeNextBriefly(oNext).size(), 15U);
    EXPECT_EQ(tellNext(oNext).back(), '.');
    return nameNext(oNext.m_eState) + (oNext.m_oSeconds ? " " + std::to_string(*oNext.m_oSeconds) : "");
}

std::string untold(const std::vector<int>& a_oTries)
{
    StatusSources oSources = sourcesOf({a_oTries});
    oSources.m_oClients.clear();
    oSources.m_oChanges.clear();
    return next(oSources);
}

} // namespace

TEST(Next, FollowsFromWhatIs)
{
    const std::vector<std::pair<Past, const char*>> oCases = {
        {{{-500}}, "idle"},
        {{{-500}, -1}, "no-daemon"},
        // started, or told of a change: 70 s and a slice, an attempt that it had to wait for, its own, the next pass
        {{{}, 0}, "due 75"},
        {{{-500}, 10}, "due 65"},
        {{{-500}, 1000, 10}, "due 65"},
        {{{500}, 1000, 10}, "due 65"},
        {{{-500}, 1000, 80}, "awaited 94"},
        {{{}, 1000, 80}, "awaited 94"},
        {{{-500}, 1000, 175}, "overdue 100"},
        {{{}, 1000}, "overdue 925"},
        {{{-20}, 1000, 80}, "idle"},
        // a change of another account concerns this one because of its interface's DNS server
        {{{-500}, 1000, 10, -1, "update-url", "eth0"}, "possible 65"},
        {{{}, 1000, 10, -1, "update-url", "eth0"}, "due 65"},
        {{{-500}, 1000, -1, 10}, "possible 65"},
        {{{-500}, 1000, -1, 100}, "possible"},
        {{{-500}, 1000, -1, 200}, "idle"},
        {{{-20}, 1000, -1, 100}, "idle"},
        {{{-500}, 1000, 60, 20}, "due 55"}, // which begins the start period again
        {{{}, 1000, -1, 10}, "due 65"},     // it was down when the daemon started
        {{{-5000}, 1000, -1, 10}, "due 65"},
        // after a failure
        {{{5}}, "retrying 140"},
        {{{5}, 1000, 80}, "retrying 140"},
        {{{130, 10}}, "retrying 275"},
        {{{400, 280, 20}}, "exhausted"},
        {{{400, 280, 20}, 1000, -1, 5}, "possible 70"},
        {{{-130, 10}}, "retrying 135"},
        {{{130, 10}, 1000, 80}, "retrying 135"}, // the first one was before the change
        {{{145}, 1000, -1, 90}, "awaited 87"},
        {{{145}, 1000, -1, 10}, "retrying 65"},
        {{{300}}, "overdue 155"},
        {{{9000, 3000}}, "overdue 2855"},
        // GnuDIP servers may keep an attempt waiting for minutes
        {{{-900, 400, 20}, 100000, -1, -1, "gnudip"}, "retrying 265"},
        {{{-900, 630, 250}, 100000, -1, -1, "gnudip"}, "retrying 35"},
        {{{-1900, 1000, 620, 110}, 100000, -1, -1, "gnudip"}, "exhausted"},
    };
    for (const auto& [oPast, pNext] : oCases)
    {
        EXPECT_EQ(next(sourcesOf(oPast)), pNext) << testing::PrintToString(oPast.m_oTries) << " " << oPast.m_iDaemon
                                                 << " " << oPast.m_iAccounts << " " << oPast.m_iInterfaces;
    }
}

TEST(Next, FollowsFromTheAttemptsAloneWhereTheServiceTellsNothing)
{
    EXPECT_EQ(untold({}), "due");
    EXPECT_EQ(untold({-500}), "idle");
    EXPECT_EQ(untold({5}), "retrying 140");
    EXPECT_EQ(untold({400, 280, 20}), "exhausted");
    EXPECT_EQ(untold({-3600}), "idle");
}

TEST(Next, WaitsForTheDaemonToConnect)
{
    StatusSources oSources = sourcesOf({{}, 100});
    oSources.m_oClients.back() = makeRow("Name=quorvad ConnectedSeconds=60 RunningSeconds=100");
    EXPECT_EQ(next(oSources), "due 15");
    EXPECT_EQ(describeNext({ENext::Due, 40, {}}), "an update within 40 seconds");
    EXPECT_EQ(describeNext({ENext::Awaited, 94, {}}), "the outcome is awaited, at most 94 seconds");
    EXPECT_EQ(describeNext({ENext::Retrying, 140, {}}), "tries again within 3 minutes");
}
