#include "netifwatch/machine.h"
#include "netifwatch/tableplan.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/netifwatch/support.h"
#include "tests/unit/support/folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace netifwatch;

namespace
{

std::string serversIn(const std::vector<DnsServer>& a_oServers)
{
    std::string strText;
    for (const DnsServer& oServer : a_oServers)
    {
        strText += toText(oServer.m_oAddress) + (oServer.m_strZone.empty() ? "" : "%" + oServer.m_strZone) + " ";
    }
    return strText;
}

/// "+" inserts, "=" changes, "-" deletes: "+eth0:192.0.2.1 =3:192.0.2.2 -4".
std::string describe(const Operations& a_oOperations)
{
    std::string strText;
    for (const Operation& oOperation : a_oOperations)
    {
        const std::string strAddress = oOperation.m_oValues.getValue("IPAddress").getText();
        const std::string strId = std::to_string(oOperation.m_iId);
        strText += strText.empty() ? "" : " ";
        strText += oOperation.m_eKind == Operation::Kind::Insert   ? "+" + oOperation.m_strName + ":" + strAddress
                   : oOperation.m_eKind == Operation::Kind::Update ? "=" + strId + ":" + strAddress
                                                                   : "-" + strId;
    }
    return strText;
}

/// A row of DNSClientServer: Ids below 20 are the watcher's own.
korrin::ValueList row(int a_iId, const std::string& a_strInterface, const std::string& a_strAddress)
{
    const std::string strOrigin = a_iId < 20 ? "netifwatch" : a_iId < 30 ? "" : "other";
    return makeRow("Id=" + std::to_string(a_iId) + " Interface=" + a_strInterface + " IPAddress=" + a_strAddress +
                   " Origin=" + strOrigin);
}

} // namespace

TEST(ResolvConf, Lines)
{
    const std::vector<std::pair<std::string, std::string>> oCases = {
        {"", ""},
        {"nameserver 192.0.2.1\nnameserver 2001:db8::1\n", "192.0.2.1 2001:db8::1 "},
        {"# nameserver 192.0.2.1\n;nameserver 192.0.2.2\nsearch nameserver 192.0.2.3\n", ""},
        {"\t nameserver\t192.0.2.1 # the first\r\nnameserver 192.0.2.2", "192.0.2.1 192.0.2.2 "},
        {"nameserver fe80::1%eth0\nnameserver fe80::1%3\nnameserver fe80::1\n", "fe80::1%eth0 fe80::1%3 fe80::1 "},
        {"nameserver\nnameserver example.org\nnameserver 192.0.2\nnameserver 192.0.2.1:53\n", ""},
        {"nameserver 192.0.2.1\nnameserver 192.0.2.1\n", "192.0.2.1 "},
        {std::string("nameserver 192.0.2.1\0\nnameserver 192.0.2.2\n", 43), "192.0.2.1 192.0.2.2 "},
        {"nameserver192.0.2.1\nNameserver 192.0.2.1\n", ""},
    };
    for (const auto& [strText, strExpected] : oCases)
    {
        EXPECT_EQ(serversIn(parseResolvConf(strText)), strExpected) << strText;
    }
    std::string strMany;
    for (int iServer = 0; iServer < 10000; ++iServer)
    {
        strMany += "nameserver 10.0." + std::to_string(iServer / 250) + "." + std::to_string(iServer % 250) + "\n";
    }
    EXPECT_EQ(parseResolvConf(strMany).size(), 16U);
    const Folder oFolder;
}

TEST(ResolvConf, FilesThatAreNone)
{
    alarm(10); // a pipe without a writer would be waited for
    const Folder oFolder;
    const std::string strPipe = oFolder / "pipe";
    ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0);
    const std::string strStub = oFolder.write("stub", "nameserver 127.0.0.53\n");
    const std::string strFile = oFolder.write("file", "nameserver 192.0.2.1\n" + std::string(1000000, '#'));
    const std::vector<std::tuple<std::string, std::string, std::string, std::string>> oCases = {
        {strFile, strPipe, "192.0.2.1 ", ""},
        {strStub, strFile, "192.0.2.1 ", ""},
        {strStub, oFolder / "missing", "127.0.0.53 ", ""},
        {oFolder / "missing", strFile, "", ""},
        {oFolder / "", strFile, "", oFolder / "" + ": it is not a regular file"},
        {"/dev/zero", strFile, "", "/dev/zero: it is not a regular file"},
        {strPipe, strFile, "", strPipe + ": it is not a regular file"},
        {strStub, strPipe, "127.0.0.53 ", strPipe + ": it is not a regular file"},
    };
    for (const auto& [strPath, strBehind, strServers, strProblem] : oCases)
    {
        std::vector<std::string> oProblems;
        EXPECT_EQ(serversIn(readResolvConf(strPath, oProblems, strBehind)), strServers) << strPath << strBehind;
        EXPECT_EQ(oProblems.size(), strProblem.empty() ? 0U : 1U) << strPath << strBehind;
        EXPECT_NE((oProblems.empty() ? "" : oProblems.front()).find(strProblem), std::string::npos) << strProblem;
    }
    alarm(0);
}

// wan0 (2) and wan1 (3) have default routes, lan0 (4) has none; 10.4.0.0/16 is behind lan0, and 10.4.0.1 is this
// machine.
TEST(Assignment, Routes)
{
    const Interfaces oInterfaces = {makeInterface(2, "wan0", true),
                                    makeInterface(3, "wan1", true),
                                    makeInterface(4, "lan0", true),
                                    makeInterface(5, "down0", false)};
    const RouteFinder oRoutes = [](const IpAddress& a_oAddress, int a_iInterface) -> std::optional<Route>
    {
        const std::string strAddress = toText(a_oAddress);
        if (strAddress == "10.4.0.1" || strAddress == "2001:db8:dead::1")
        {
            return std::nullopt;
        }
        if (strAddress.rfind("10.4.", 0) == 0 && (a_iInterface == 0 || a_iInterface == 4))
        {
            return Route{4, false};
        }
        if (a_iInterface == 4)
        {
            return std::nullopt;
        }
        return Route{a_iInterface == 0 ? 2 : a_iInterface, true};
    };
    const auto oServer = [](const std::string& a_strText)
    { return parseResolvConf("nameserver " + a_strText).front(); };
    using Case = std::tuple<std::map<int, std::vector<std::string>>, std::vector<std::string>, ServersByName>;
    const std::vector<Case> oCases = {
        {{}, {}, {}},
        {{},
         {"192.0.2.53", "10.4.0.53"},
         {{"lan0", {"10.4.0.53"}}, {"wan0", {"192.0.2.53"}}, {"wan1", {"192.0.2.53"}}}},
        {{}, {"127.0.0.53", "::1", "0.0.0.0", "::ffff:127.0.0.1", "10.4.0.1", "2001:db8:dead::1"}, {}},
        {{}, {"fe80::1%wan1", "fe80::2%4", "fe80::3", "fe80::4%down0"}, {{"lan0", {"fe80::2"}}, {"wan1", {"fe80::1"}}}},
        {{{2, {"192.0.2.1", "127.0.0.1", "192.0.2.2", "192.0.2.1"}}, {5, {"192.0.2.9"}}, {99, {"192.0.2.9"}}},
         {"192.0.2.53"},
         {{"wan0", {"192.0.2.1", "192.0.2.2"}}, {"wan1", {"192.0.2.53"}}}},
        {{{2, {"127.0.0.53"}}, {4, {"fe80::1"}}},
         {"2001:db8::53"},
         {{"lan0", {"fe80::1"}}, {"wan0", {"2001:db8::53"}}, {"wan1", {"2001:db8::53"}}}},
    };
    for (const auto& [oOfLinks, oOfMachine, oExpected] : oCases)
    {
        DnsSources oSources;
        for (const auto& [iIndex, oAddresses] : oOfLinks)
        {
            for (const std::string& strAddress : oAddresses)
            {
                oSources.m_oOfLinks[iIndex].push_back(oServer(strAddress).m_oAddress);
            }
        }
        for (const std::string& strServer : oOfMachine)
        {
            oSources.m_oOfMachine.push_back(oServer(strServer));
        }
        EXPECT_EQ(assignServers(oInterfaces, oSources, oRoutes), oExpected);
    }
}

TEST(ServerRows, Plan)
{
    // Present rows, wanted servers, operations.
    const std::vector<std::tuple<Rows, ServersByName, std::string>> oCases = {
        {{}, {{"eth0", {"192.0.2.1", "192.0.2.2"}}}, "+eth0:192.0.2.1 +eth0:192.0.2.2"},
        {{row(1, "eth0", "192.0.2.1")}, {{"eth0", {"192.0.2.1"}}}, ""},
        {{row(1, "eth0", "192.0.2.1")}, {{"eth0", {"192.0.2.1", "192.0.2.2"}}}, "+eth0:192.0.2.2"},
        {{row(1, "eth0", "192.0.2.1"), row(2, "eth0", "192.0.2.2")},
         {{"eth0", {"192.0.2.2", "192.0.2.1"}}},
         "=1:192.0.2.2 =2:192.0.2.1"},
        {{row(1, "eth0", "192.0.2.1"), row(2, "eth0", "192.0.2.2")}, {{"eth0", {"192.0.2.2"}}}, "=1:192.0.2.2 -2"},
        // no server is known now: the rows stay
        {{row(1, "eth0", "192.0.2.1")}, {}, ""},
        {{row(1, "eth0", "192.0.2.1")}, {{"eth0", {}}}, ""},
        {{row(1, "gone0", "192.0.2.1")}, {}, ""},
        // an interface with somebody else's row is left to them, even if that names the same server
        {{row(21, "eth0", "192.0.2.1")}, {{"eth0", {"192.0.2.1"}}}, ""},
        {{row(1, "eth0", "192.0.2.1"), row(21, "eth0", "192.0.2.9")}, {{"eth0", {"192.0.2.1"}}}, "-1"},
        {{row(1, "eth0", "192.0.2.1"), row(31, "eth0", "192.0.2.9")}, {{"eth0", {"192.0.2.1"}}}, "-1"},
        {{row(21, "eth0", "192.0.2.9")}, {{"eth1", {"192.0.2.1"}}}, "+eth1:192.0.2.1"},
        // excluded by the options, so the rows may be another watcher's
        {{row(1, "docker0", "192.0.2.1"), row(21, "docker1", "192.0.2.1")}, {}, ""},
    };
    const InterfaceFilter oFilter{{}, {"docker*"}};
    for (const auto& [oPresent, oServers, strExpected] : oCases)
    {
        EXPECT_EQ(describe(planServers(oServers, {"eth0", "eth1"}, oPresent, oFilter)), strExpected);
    }
    Rows oMany;
    for (int iId = 1; iId <= 12; ++iId) // rows of the last eight interfaces that vanished are kept
    {
        oMany.push_back(row(iId, (iId == 2 ? "eth" : "veth") + std::to_string(iId), "192.0.2.1"));
    }
    EXPECT_EQ(describe(planServers({}, {"eth2"}, oMany, oFilter)), "-1 -3 -4");
}
