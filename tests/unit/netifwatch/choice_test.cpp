#include "netifwatch/options.h"
#include "tests/unit/netifwatch/support.h"

#include <gtest/gtest.h>

using netifwatch::chooseIPv4;
using netifwatch::chooseIPv6;

TEST(Choice, IPv4)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> oCases = {
        {{}, ""},
        {{"192.0.2.1"}, "192.0.2.1"},
        {{"192.0.2.1 secondary", "192.0.2.2"}, "192.0.2.2"},
        {{"198.51.100.9", "192.0.2.1"}, "198.51.100.9"}, // in the kernel's order, not numerically
        {{"192.0.2.1 deprecated", "198.51.100.9"}, "198.51.100.9"},
        {{"192.0.2.1 deprecated"}, "192.0.2.1"},
        {{"192.0.2.1 secondary deprecated"}, ""},
        {{"169.254.7.7", "169.254.7.8 link", "10.0.0.1 host", "10.0.0.2 site"}, ""},
        {{"2001:db8::1", "127.0.0.5", "10.0.0.1"}, "10.0.0.1"},
    };
    for (const auto& [oAddresses, strExpected] : oCases)
    {
        EXPECT_EQ(chooseIPv4(makeInterface(2, "eth0", true, oAddresses)), strExpected)
            << testing::PrintToString(oAddresses);
    }
}

TEST(Choice, IPv6)
{
    const std::vector<std::tuple<std::vector<std::string>, std::string, std::string>> oCases = {
        {{"fe80::1 link", "fe80::2", "fec0::1 site", "::1 host", "192.0.2.1"}, "", ""},
        // an unusable address is not chosen, even if it is the present one
        {{"2001:db8::1 temporary"}, "2001:db8::1", ""},
        {{"2001:db8::1 deprecated"}, "2001:db8::1", ""},
        {{"2001:db8::1 tentative"}, "", ""},
        {{"2001:db8::1 optimistic"}, "", ""},
        {{"2001:db8::1 failed permanent"}, "", ""},
        {{"2001:db8::1 temporary managed", "2001:db8::9 managed"}, "", "2001:db8::9"},
        // native before transition mechanism before unique local
        {{"fd00::1", "2001:db8::1"}, "fd00::1", "2001:db8::1"},
        {{"fd00::1", "2002:c000:201::1"}, "fd00::1", "2002:c000:201::1"},
        {{"2001:0:1::1", "2002:c000:201::1", "2001:db8::1"}, "2001:0:1::1", "2001:db8::1"},
        {{"fc00::1", "fe80::1 link"}, "", "fc00::1"},
        // among equals the present one, however it is written, else the lowest
        {{"2001:db8::2", "2001:db8::1", "2001:db8::3"}, "", "2001:db8::1"},
        {{"2001:db8::2", "2001:db8::1", "2001:db8::3"}, "2001:DB8:0::3", "2001:db8::3"},
        {{"2001:db8::2", "2001:db8::1"}, "2001:db8::3", "2001:db8::1"},
        {{"2001:db8::2", "2001:db8::1"}, "nonsense", "2001:db8::1"},
    };
    for (const auto& [oAddresses, strPresent, strExpected] : oCases)
    {
        EXPECT_EQ(chooseIPv6(makeInterface(2, "eth0", true, oAddresses), strPresent), strExpected)
            << testing::PrintToString(oAddresses) << " present " << strPresent;
    }
}

TEST(Choice, Interfaces)
{
    const std::vector<std::string> oNames = {"lo", "eth0", "eth1", "ppp0", "[eth]", "\xff\xfe", "wlan\xc3\xa4"};
    const std::vector<std::tuple<std::vector<std::string>, std::vector<std::string>, std::string>> oCases = {
        {{}, {}, "eth0 eth1 ppp0 [eth] wlan\xc3\xa4 "},
        {{"eth?"}, {}, "eth0 eth1 "},
        {{"lo", "ppp0"}, {}, "lo ppp0 "},
        {{"*"}, {"eth*", "[[]*", "wlan*"}, "lo ppp0 "},
        {{}, {"*"}, ""},
        {{"eth"}, {}, ""},
    };
    for (const auto& [oIncluded, oExcluded, strExpected] : oCases)
    {
        const netifwatch::InterfaceFilter oFilter{oIncluded, oExcluded};
        std::string strAccepted;
        for (const std::string& strName : oNames)
        {
            strAccepted += oFilter.accepts(strName) ? strName + " " : "";
        }
        EXPECT_EQ(strAccepted, strExpected);
    }
}
