#include "tests/unit/config/handlerfixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(HandlerTest, FirstNotificationLoadsEverythingThatCanBeRead)
{
    rows("DynDns").insert(rows("DynDns").begin(), makeRow("Interface=ppp0")); // no Id
    add("DynDns", "Id=5 Enable=1");                                           // no Interface
    add("DNSClientServer", "IPAddress=10.0.0.3");                             // no Id
    m_oClient.m_oRefused = {"getrow DynDns 2"};
    LogCapture oLog;
    std::list<std::string> oNames{"X"};
    m_oHandler.getTableNames(oNames);
    EXPECT_THAT(
        oNames,
        ElementsAre("X", "DynDns", "StatusNetifWatch", "StatusNetIfIPv6Addresses", "DNSRelay", "DNSClientServer"));
    notify("no table of ours");
    EXPECT_THAT(keysOf(m_oHandler.m_oDynDnsCfgs), ElementsAre(1, 3, 4, 5));
    EXPECT_THAT(keysOf(m_oHandler.m_oNetifWatch), ElementsAre("eth0", "ppp0"));
    EXPECT_THAT(keysOf(m_oHandler.m_oNetifIPv6), ElementsAre("ppp0"));
    EXPECT_EQ(m_oHandler.m_oNetifWatch.at("eth0")->m_oLastSnapshot, makeRow("Id=2 Addr=10.1.1.2 IsUp=1 Name=eth0"));
    EXPECT_EQ(m_oHandler.m_oNetifWatch.at("eth0")->m_uiId, 2U);
    EXPECT_EQ(m_oHandler.m_oNameservers.size(), 2U);
    EXPECT_EQ(m_oHandler.m_strSerialNo, "A1B2");
    EXPECT_THAT(oLog.lines(), Contains("warning Skipping a row of table DynDns without column Id."));
    EXPECT_THAT(oLog.lines(), Contains("warning Skipping a row of table DNSClientServer without column Id."));

    m_oClient.m_oCalls.clear();
    notify("no table of ours");
    EXPECT_THAT(m_oClient.m_oCalls, IsEmpty());
    rows("etl").clear();
    m_oHandler.loadSerialNumber(m_oClient);
    EXPECT_EQ(m_oHandler.m_strSerialNo, "Sxxxxxxxxxxxx");
}

TEST_F(HandlerTest, UnreadableInterfaceIsForgottenOnlyWhenItsTableChanged)
{
    notify("DynDns");
    m_oHandler.m_oNetifIPv6.at("ppp0")->m_bChanged = false;
    rows("DynDns").erase(rows("DynDns").begin());
    m_oClient.m_oRefused = {"getrowbykey StatusNetifWatch ppp0", "getrow DNSRelay 0", "getrowcount DNSClientServer"};
    notify("DynDns");
    EXPECT_THAT(keysOf(m_oHandler.m_oNetifWatch), ElementsAre("eth0", "ppp0"));
    EXPECT_THAT(keysOf(m_oHandler.m_oDynDnsCfgs), ElementsAre(1, 2, 3, 4)) << "a deleted account stays cached";
    EXPECT_EQ(m_oHandler.m_oDnsRelay.getValue("PrimaryServerIp").getText(), "9.9.9.9");
    EXPECT_THAT(m_oHandler.m_oNameservers, IsEmpty());

    LogCapture oLog;
    notify("StatusNetifWatch");
    notify("StatusNetIfIPv6Addresses");
    EXPECT_THAT(keysOf(m_oHandler.m_oNetifWatch), ElementsAre("eth0"));
    EXPECT_FALSE(m_oHandler.m_oNetifIPv6.at("ppp0")->m_bChanged) << "both ways must read the same columns";
    EXPECT_THAT(oLog.lines(),
                Contains("debug DB entry 'StatusNetifWatch' for 'ppp0' not accessible => delete related cached obj."));
    EXPECT_THAT(oLog.lines(), Contains("debug cached obj changed? NO").Times(2)); // the accounts 2 and 3
    EXPECT_THAT(oLog.lines(), Contains("debug cached obj changed? YES").Times(1));
    rows("StatusNetIfIPv6Addresses").clear();
    m_oHandler.updateCachedTables(m_oClient, true);
    EXPECT_THAT(keysOf(m_oHandler.m_oDynDnsCfgs), ElementsAre(2, 3, 4));
    EXPECT_THAT(keysOf(m_oHandler.m_oNetifWatch), ElementsAre("eth0"));
    EXPECT_THAT(m_oHandler.m_oNetifIPv6, IsEmpty());
}

TEST_F(HandlerTest, ComposesTheServersOfAnInterface)
{
    add("DNSClientServer", "Id=3 Enable=1 Interface=ppp0 IPAddress=10.0.0.3");
    add("DNSClientServer", "Id=4 Enable=0 Interface=ppp0 IPAddress=10.0.0.4");
    add("DNSClientServer", "Id=5 Enable=1");
    const std::string strOn = "Enable=1 EnableUserProvidedDnsServer=1 ";
    const std::tuple<std::string, const char*, std::string> aoCases[] = {
        {"", "ppp0", "10.0.0.1,10.0.0.3"},
        {"Enable=0 EnableUserProvidedDnsServer=1 UserProvidedDnsServerMode=1", "ppp0", "10.0.0.1,10.0.0.3"},
        {"Enable=1 EnableUserProvidedDnsServer=0 UserProvidedDnsServerMode=1", "eth0", "10.0.0.2"},
        {strOn + "PrimaryServerIp=9.9.9.9 SecondaryServerIp=1.1.1.1", "ppp0", "10.0.0.1,10.0.0.3,9.9.9.9,1.1.1.1"},
        {strOn + "UserProvidedDnsServerMode=1 PrimaryServerIp=9.9.9.9 SecondaryServerIp=1.1.1.1",
         "ppp0",
         "9.9.9.9,1.1.1.1"},
        {strOn + "PrimaryServerIp=9.9.9.9", "eth0", "10.0.0.2,9.9.9.9,"},
        {strOn + "SecondaryServerIp=1.1.1.1", "eth0", "10.0.0.2,,1.1.1.1"},
        {strOn, "PPP0", ","},
        {"Enable=1", "PPP0", ""}};
    for (const auto& [strRelay, pInterface, strServers] : aoCases)
    {
        rows("DNSRelay") = {makeRow(strRelay)};
        m_oHandler.updateUserDnsServers(m_oClient);
        m_oHandler.updateOtherDnsServers(m_oClient);
        LogCapture oLog;
        EXPECT_EQ(m_oHandler.getNameservers(pInterface), strServers);
        EXPECT_EQ(oLog.has("warning Failed to load DNS nameservers from configuration."), strServers.empty());
    }
}
