#pragma once

#include "config/confighandler.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/support/logcapture.h"

template<typename Map>
std::vector<typename Map::key_type> keysOf(const Map& a_oMap)
{
    std::vector<typename Map::key_type> oKeys;
    std::for_each(a_oMap.begin(), a_oMap.end(), [&](const auto& a_oEntry) { oKeys.push_back(a_oEntry.first); });
    return oKeys;
}

/// A handler over a database with the accounts 1, 2 and 3 (disabled) on ppp0 and 4 on eth0, both interfaces up.
class HandlerTest : public testing::Test
{
protected:
    HandlerTest()
    {
        const std::string strAccount = " Hostname=alice.dyn.example.org AccountUserName=alice Password=secret Retry=4 "
                                       "ExpectedResultSubString=good ServerAddr=https://h/?<ipaddr>,<ipaddr6>,<serial>";
        add("DynDns", "Id=1 Enable=1 Interface=ppp0 ServiceType=update-url" + strAccount);
        add("DynDns", "Id=2 Enable=1 Interface=ppp0 ServiceType=gnudip" + strAccount);
        add("DynDns", "Id=3 Enable=0 Interface=ppp0 ServiceType=update-url" + strAccount);
        add("DynDns", "Id=4 Enable=1 Interface=eth0 ServiceType=update-url" + strAccount);
        add("StatusNetifWatch", "Id=1 Addr=10.1.1.1 IsUp=1 Mtu=1492 Name=ppp0");
        add("StatusNetifWatch", "Id=2 Addr=10.1.1.2 IsUp=1 Mtu=1500 Name=eth0");
        add("StatusNetIfIPv6Addresses", "Id=1 Addr=2001:db8::1 Prefix=64 Name=ppp0");
        add("DNSRelay",
            "Id=1 Enable=0 EnableUserProvidedDnsServer=0 UserProvidedDnsServerMode=0 "
            "PrimaryServerIp=9.9.9.9 SecondaryServerIp=1.1.1.1");
        add("DNSClientServer", "Id=1 Enable=1 Interface=ppp0 IPAddress=10.0.0.1");
        add("DNSClientServer", "Id=2 Enable=1 Interface=eth0 IPAddress=10.0.0.2");
        add("etl", "Id=1 serial_no=A1B2");
    }

    void add(const char* a_pTable, const std::string& a_strRow) { rows(a_pTable).push_back(makeRow(a_strRow)); }
    std::vector<korrin::ValueList>& rows(const char* a_pTable) { return m_oClient.m_oTables[a_pTable]; }
    void notify(const char* a_pTable) { EXPECT_TRUE(m_oHandler.loadFromConfig(m_oClient, a_pTable)); }
    void change(const char* a_pTable, const char* a_pId, const char* a_pCell)
    {
        EXPECT_EQ(m_oClient.updatekey(a_pTable, "Id", a_pId, makeRow(a_pCell)), 0U);
        notify(a_pTable);
    }
    /// Runs the decision step and returns the Ids that have a scheduler then; its log lines are in m_oLines.
    std::vector<int> process()
    {
        LogCapture oLog;
        m_oHandler.process();
        m_oLines = oLog.lines();
        return keysOf(m_oHandler.m_oSchedulers);
    }

    MemoryClient m_oClient;
    quorvad::ConfigHandler m_oHandler;
    std::vector<std::string> m_oLines;
};
