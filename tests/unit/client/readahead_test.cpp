#include "cfgserver/service.h"
#include "platform/client/configclient.h"
#include "tests/unit/cfgserver/samples.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <utility>

using namespace samples;

namespace
{

/// A client that calls the real service without a socket in between.
class Direct : public platform::IRequester
{
public:
    explicit Direct(cfgserver::Service& a_oService) : m_oClient(*this, false), m_oService(a_oService)
    {
        (void)request(samples::hello());
    }
    wire::Reply request(wire::Request a_oRequest) override
    {
        ++m_iRequests;
        wire::Reply oReply = m_oService.answer(m_oSession, a_oRequest, cfgserver::Clock::now()).m_oReply;
        if (const auto oBehind = std::exchange(m_oBehindReply, nullptr))
        {
            oBehind();
        }
        return oReply;
    }
    [[nodiscard]] std::string getServiceVersion() const override { return ""; }

    platform::ConfigClient m_oClient;
    std::function<void()> m_oBehindReply; // runs right after the next reply
    int m_iRequests = 0;

private:
    cfgserver::Service& m_oService;
    cfgserver::Client m_oSession;
};

class ReadAhead : public testing::Test
{
protected:
    void write(Direct& a_oOne, const std::function<void(platform::ConfigClient&)>& a_oWrites)
    {
        ASSERT_EQ(a_oOne.m_oClient.getdbaccess(), 0U);
        a_oWrites(a_oOne.m_oClient);
        ASSERT_EQ(a_oOne.m_oClient.commit(), 0U);
    }
    void add(Direct& a_oOne, const char* a_pTable, int a_iFirst, int a_iLast)
    {
        write(a_oOne,
              [&](platform::ConfigClient& a_oClient)
              {
                  for (int iId = a_iFirst; iId <= a_iLast; ++iId)
                  {
                      const char* pName = std::string(a_pTable) == "DynDns" ? "Hostname" : "Name";
                      const auto oRow = row({{"Id", integer(iId)}, {pName, text("n" + std::to_string(iId))}});
                      EXPECT_EQ(a_oClient.insertrow(a_pTable, oRow), 0U);
                  }
              });
    }
    /// The result of a read: code, reason, row.
    template<typename Read>
    static auto outcome(platform::ConfigClient& a_oClient, Read a_oRead)
    {
        korrin::ValueList oRow;
        std::string strWhy;
        const unsigned uiCode = a_oRead(a_oClient, oRow);
        a_oClient.getlasterror(strWhy);
        return std::tuple(uiCode, strWhy, oRow);
    }

    cfgserver::Database m_oDatabase{":memory:"};
    cfgserver::Store m_oStore{m_oDatabase};
    cfgserver::Service m_oService{m_oStore, cfgserver::AccessLimits()};
    Direct m_oHandler{m_oService};
    Direct m_oWriter{m_oService};
    Direct m_oPlain{m_oService}; // reads outside any delivery
};

} // namespace

TEST_F(ReadAhead, NeverReturnsStaleRows)
{
    std::mt19937 oDice(4711); // NOLINT(cert-msc51-cpp): a failure must be repeatable
    add(m_oWriter, "DynDns", 1, 8);
    add(m_oWriter, "StatusNetifWatch", 1, 8);
    m_oHandler.m_oClient.setDelivering(true);
    const char* apTables[] = {"DynDns", "StatusNetifWatch", "NoSuchTable"};
    int iNewest = 8;
    const auto roll = [&](int a_iMost) { return static_cast<int>(oDice() % static_cast<unsigned>(a_iMost)); };
    const auto replaceOldest = [&](Direct& a_oOne, const char* a_pTable)
    {
        write(a_oOne, [&](auto& a_oClient) { EXPECT_EQ(a_oClient.deleterow(a_pTable, 0), 0U); });
        add(a_oOne, a_pTable, iNewest + 1, iNewest + 1);
        ++iNewest;
    };
    for (int iStep = 0; iStep < 4000; ++iStep)
    {
        const char* pTable = apTables[roll(roll(10) == 0 ? 3 : 2)];
        const std::string strKey = std::to_string(iNewest - 12 + roll(15)); // some deleted, some not inserted yet
        korrin::NameList oNames;
        if (roll(3) == 0)
        {
            oNames.add(roll(2) == 0 ? "Id" : "Name");
        }
        const auto check = [&](auto a_oRead)
        { ASSERT_EQ(outcome(m_oHandler.m_oClient, a_oRead), outcome(m_oPlain.m_oClient, a_oRead)) << iStep; };
        unsigned uiCount = 0;
        if (roll(3) == 0)
        {
            m_oHandler.m_oClient.getrowcount(pTable, uiCount);
        }
        for (unsigned uiRow = roll(9) == 0 ? 3 : 0; uiRow < uiCount; ++uiRow)
        {
            check([&](auto& a_oClient, auto& a_oRow) { return a_oClient.getrow(pTable, uiRow, oNames, a_oRow); });
            const char* pOther = apTables[roll(2)];
            if (roll(40) == 0) // the handler itself writes
            {
                replaceOldest(m_oHandler, pOther);
            }
            else if (roll(40) == 0) // another client does, and the notification comes before the next reply
            {
                replaceOldest(m_oWriter, pOther);
                m_oHandler.m_oClient.onTableChanged(pOther);
            }
        }
        const auto readById = [&](auto& a_oClient, auto& a_oRow)
        { return a_oClient.getrowbykey(pTable, "Id", strKey, oNames, a_oRow); };
        if (roll(20) == 0 && pTable != apTables[2]) // a reply that is already outdated, as a notification says
        {
            m_oHandler.m_oBehindReply = [&]
            {
                replaceOldest(m_oWriter, pTable);
                m_oHandler.m_oClient.onTableChanged(pTable);
            };
            outcome(m_oHandler.m_oClient, readById);
            m_oHandler.m_oBehindReply = nullptr;
        }
        check(readById);
        check([&](auto& a_oClient, auto& a_oRow)
              { return a_oClient.getrowbykey(pTable, "Name", "n" + strKey, oNames, a_oRow); });
    }
    EXPECT_LT(m_oHandler.m_iRequests, m_oPlain.m_iRequests) << "nothing was read ahead";
}
