#include "resolver/dnsresolver.h"
#include "resolver/serverlist.h"

#include "actions/error.h"
#include "dnsserver.h"
#include "resolver/answer.h"
#include "resolver/lookuptables.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace quorvad;

namespace
{

const char* const s_pServer = "127.62.0.53";

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

/// "10.0.0.1:0 10.0.1.1:0 ", or the code as "EAI -2".
std::string resolve(DnsResolver& a_oResolver, const std::string& a_strName)
{
    addrinfo* pList = nullptr;
    const int iResult = a_oResolver.getaddrinfo(a_strName, &pList);
    if (iResult != 0)
    {
        EXPECT_EQ(pList, nullptr);
        return "EAI " + std::to_string(iResult);
    }
    std::string strText;
    for (const addrinfo* pEntry = pList; pEntry != nullptr; pEntry = pEntry->ai_next)
    {
        EXPECT_EQ(pEntry->ai_addrlen, 16U);
        sockaddr_in oAddress = {};
        std::memcpy(&oAddress, pEntry->ai_addr, sizeof(oAddress));
        strText += std::string(inet_ntoa(oAddress.sin_addr)) + ":" + std::to_string(oAddress.sin_port) + " ";
    }
    freeaddrinfo(pList);
    return strText;
}

} // namespace

TEST_F(DnsResolverTest, LookupsSideBySideGetTheirOwnAnswers)
{
    const DnsServer oServer(s_pServer);
    if (!oServer.m_bReady)
    {
        GTEST_SKIP() << "port 53 of a loopback address can't be bound: " << strerror(errno);
    }
    const int iFirstId = s_iNextRequestId;
    std::vector<std::thread> oThreads;
    for (int iThread = 1; iThread <= 4; ++iThread)
    {
        oThreads.emplace_back(
            [strNumber = std::to_string(iThread)]
            {
                DnsResolver oResolver("lo", s_pServer);
                for (int iCount = 0; iCount < 20; ++iCount)
                {
                    EXPECT_EQ(resolve(oResolver, "a" + strNumber + ".example."),
                              "10.0.0." + strNumber + ":0 10.0.1." + strNumber + ":0 ");
                    EXPECT_EQ(resolve(oResolver, "missing.example."), "EAI -2");
                    EXPECT_EQ(resolve(oResolver, "none.example."), "EAI -2");
                }
            });
    }
    for (auto& oThread : oThreads)
    {
        oThread.join();
    }
    EXPECT_EQ(s_iNextRequestId - iFirstId, 4 * 20 * 3);
}

TEST_F(DnsResolverTest, AnswersWithoutServer)
{
    DnsResolver oResolver("lo", "127.62.0.54"); // nobody listens there
    EXPECT_EQ(resolve(oResolver, "192.0.2.5"), "192.0.2.5:0 ");
    EXPECT_EQ(resolve(oResolver, "bad..name"), "EAI -2");
    EXPECT_EQ(resolve(oResolver, "name.example."), "EAI -11");
    for (const char* pList : {",1.1.1.1", "1.1.1.1 ,8.8.8.8", "dns.example", "fe80::1%lo"})
    {
        EXPECT_THROW(DnsResolver("lo", pList), Error) << pList;
    }
}

TEST(ServerList, PortsAndALastCommaAreFine)
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

TEST(AddressList, NothingIsReadPastShortOrUnknownAddresses)
{
    const auto pAddress = std::make_unique<char[]>(4);
    char* apAddresses[] = {pAddress.get(), nullptr};
    hostent oHost = {};
    oHost.h_addr_list = apAddresses;
    oHost.h_length = 4;
    for (const int iFamily : {AF_INET6, AF_UNIX})
    {
        oHost.h_addrtype = iFamily;
        addrinfo* pList = nullptr;
        EXPECT_EQ(makeAddressList(oHost, pList), ARES_EBADFAMILY);
        EXPECT_EQ(pList, nullptr);
    }
}
