#include "resolver/dnsresolver.h"
#include "resolver/serverlist.h"

#include "actions/error.h"
#include "resolver/answer.h"
#include "resolver/lookuptables.h"
#include "tests/unit/support/logcapture.h"

#include <arpa/inet.h>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <thread>
#include <vector>

using namespace quorvad;

namespace
{

class DnsResolverTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { ares_library_init(ARES_LIB_INIT_ALL); }
    static void TearDownTestSuite() { ares_library_cleanup(); }

    void TearDown() override
    {
        EXPECT_TRUE(s_oResults.empty());
        EXPECT_TRUE(s_oWaiters.empty());
    }
};

/// Frees the list and returns its entries as "10.0.0.1:0 10.0.1.1:0 ".
std::string takeText(addrinfo* a_pList)
{
    std::string strText;
    for (const addrinfo* pEntry = a_pList; pEntry != nullptr; pEntry = pEntry->ai_next)
    {
        EXPECT_EQ(pEntry->ai_addrlen, 16U);
        sockaddr_in oAddress = {};
        std::memcpy(&oAddress, pEntry->ai_addr, sizeof(oAddress));
        strText += std::string(inet_ntoa(oAddress.sin_addr)) + ":" + std::to_string(oAddress.sin_port) + " ";
    }
    freeaddrinfo(a_pList);
    return strText;
}

/// The addresses, or the error code as "EAI -2".
std::string resolve(DnsResolver& a_oResolver, const std::string& a_strName)
{
    addrinfo* pList = nullptr;
    const int iResult = a_oResolver.getaddrinfo(a_strName, &pList);
    if (iResult != 0)
    {
        EXPECT_EQ(pList, nullptr);
        return "EAI " + std::to_string(iResult);
    }
    return takeText(pList);
}

} // namespace

TEST_F(DnsResolverTest, ConcurrentLookupsGetTheirOwnResults)
{
    const int iFirstId = s_iNextRequestId;
    std::vector<std::thread> oThreads;
    for (int iThread = 1; iThread <= 4; ++iThread)
    {
        oThreads.emplace_back(
            [strAddress = "192.0.2." + std::to_string(iThread)]
            {
                DnsResolver oResolver("lo", "127.62.0.54"); // nothing listens there
                for (int iCount = 0; iCount < 20; ++iCount)
                {
                    EXPECT_EQ(resolve(oResolver, strAddress), strAddress + ":0 ");
                    EXPECT_EQ(resolve(oResolver, "bad..name"), "EAI -2");
                    EXPECT_EQ(resolve(oResolver, "name.example."), "EAI -11");
                }
            });
    }
    for (auto& oThread : oThreads)
    {
        oThread.join();
    }
    EXPECT_EQ(s_iNextRequestId - iFirstId, 4 * 20 * 3);
    for (const int iStatus : {ARES_ENOTFOUND, ARES_ENODATA})
    {
        EXPECT_EQ(toGetaddrinfoCode(iStatus), EAI_NONAME);
    }
}

TEST_F(DnsResolverTest, LogTellsEachStep)
{
    const std::string strLog = logOf(
        []
        {
            DnsResolver oResolver("lo", "127.62.0.54"); // nothing listens there
            resolve(oResolver, "name.example.");
        });
    EXPECT_EQ(std::regex_replace(strLog, std::regex("id [0-9]+"), "id N"), R"(debug DnsResolver
debug getaddrinfo
debug Send query for node 'name.example.' with request id N
debug resolvLoop
debug c-ares thread signaled result for request id N
warning Failed to resolve for 'name.example.' (Could not contact DNS servers)
debug ~DnsResolver
)");
    EXPECT_EQ(logOf([] { EXPECT_THROW(DnsResolver("lo", "dns.example"), Error); }),
              "debug DnsResolver\nerror ares_set_servers_csv failed: Misformatted string\n");
}

TEST_F(DnsResolverTest, RefusesUnusableServerLists)
{
    for (const char* pList : {",1.1.1.1", "1.1.1.1 ,8.8.8.8", "dns.example", "fe80::1%lo"})
    {
        EXPECT_THROW(DnsResolver("lo", pList), Error) << pList;
    }
}

TEST(ServerList, MayHavePortsAndATrailingComma)
{
    for (const char* pList : {"192.0.2.1", "192.0.2.1:53", "192.0.2.1,", "[2001:db8::1]:5353,192.0.2.1"})
    {
        EXPECT_TRUE(isUsableServerList(pList)) << pList;
    }
    for (const char* pList : {"dns.example.net", ",192.0.2.1", "192.0.2.1,,192.0.2.2", ",", "192.0.2.1 ,192.0.2.2"})
    {
        EXPECT_FALSE(isUsableServerList(pList)) << pList;
    }
}

TEST(AddressList, HoldsEveryAddressInOrderAndReadsNothingPastAShortOne)
{
    const auto pAddresses = std::make_unique<char[]>(8);
    std::memcpy(pAddresses.get(), "\x0a\0\0\x01\x0a\0\x01\x01", 8);
    char* apAddresses[] = {pAddresses.get(), pAddresses.get() + 4, nullptr};
    hostent oHost = {};
    oHost.h_addr_list = apAddresses;
    oHost.h_length = 4;
    addrinfo* pList = nullptr;
    for (const int iFamily : {AF_INET6, AF_UNIX})
    {
        oHost.h_addrtype = iFamily;
        EXPECT_EQ(makeAddressList(oHost, pList), ARES_EBADFAMILY);
        EXPECT_EQ(pList, nullptr);
    }
    oHost.h_addrtype = AF_INET;
    EXPECT_EQ(makeAddressList(oHost, pList), ARES_SUCCESS);
    EXPECT_EQ(takeText(pList), "10.0.0.1:0 10.0.1.1:0 ");
}
