#include "platform/client/configclient.h"

#include "tests/unit/cfgserver/samples.h"

#include <gtest/gtest.h>

#include <deque>

namespace
{

using wire::Result;

class ScriptedRequester : public platform::IRequester
{
public:
    wire::Reply request(wire::Request a_oRequest) override
    {
        m_oLast = std::move(a_oRequest);
        ++m_iRequests;
        wire::Reply oReply;
        if (!m_oReplies.empty())
        {
            oReply = m_oReplies.front();
            m_oReplies.pop_front();
        }
        return oReply;
    }
    [[nodiscard]] std::string getServiceVersion() const override { return ""; }

    void answer(Result a_eResult, const char* a_pError = "")
    {
        m_oReplies.push_back({0, a_eResult, a_pError, 0, {}, {}});
    }

    std::deque<wire::Reply> m_oReplies; // plain success once they are used up
    wire::Request m_oLast;
    int m_iRequests = 0;
};

korrin::ValueList row(int a_iId)
{
    return samples::row({{"Id", samples::integer(a_iId)}});
}

TEST(ConfigClient, WriteAccessEndsWithCommitLossOrRefusalAndReadersGetNone)
{
    ScriptedRequester oRequester;
    platform::ConfigClient oClient(oRequester, false);
    const std::vector<std::pair<Result, std::function<void()>>> oEnds = {
        {Result::Ok, [&] { oClient.commit(); }},
        {Result::StorageFailed, [&] { oClient.commit(); }},
        {Result::Ok, [&] { oClient.dropdbaccess(); }},
        {Result::NoAccess, [&] { oClient.insertrow("T", row(1)); }},
        {Result::AccessTaken, [&] { oClient.getdbaccess(); }},
        {Result::Ok, [&] { oClient.onConnectionLost(); }},
    };
    for (const auto& [eResult, oEnd] : oEnds)
    {
        oRequester.m_oReplies.clear();
        ASSERT_EQ(oClient.getdbaccess(), 0U);
        oRequester.answer(Result::DuplicateKey, "that Id is there already");
        EXPECT_EQ(oClient.insertrow("T", row(1)), static_cast<unsigned>(Result::DuplicateKey));
        EXPECT_TRUE(oClient.hasdbaccess()) << "a refused row must not end the access";
        std::string strWhy;
        oClient.getlasterror(strWhy);
        EXPECT_EQ(strWhy, "that Id is there already");
        oRequester.answer(eResult);
        oEnd();
        EXPECT_FALSE(oClient.hasdbaccess()) << static_cast<unsigned>(eResult);
    }
    const int iRequests = oRequester.m_iRequests;
    EXPECT_EQ(platform::ConfigClient(oRequester, true).getdbaccess(), static_cast<unsigned>(Result::NoAccess));
    EXPECT_EQ(oRequester.m_iRequests, iRequests) << "a read-only client must not ask";
}

TEST(ConfigClient, LargeTableIsReadPageByPageAllOrNothing)
{
    ScriptedRequester oRequester;
    platform::ConfigClient oClient(oRequester, false);
    oRequester.m_oReplies = {{0, Result::Ok, "", 3, {row(1), row(2)}, {}}, {0, Result::Ok, "", 3, {row(3)}, {}}};
    std::list<korrin::ValueList> oRows;
    EXPECT_EQ(oClient.getrows("T", oRows), 0U);
    EXPECT_EQ(oRows, (std::list<korrin::ValueList>{row(1), row(2), row(3)}));
    EXPECT_EQ(oRequester.m_oLast.m_uiNumber, 2U);

    oRequester.m_oReplies = {{0, Result::Ok, "", 3, {row(4)}, {}}, {0, Result::Ok, "", 3, {}, {}}};
    EXPECT_EQ(oClient.getrows("T", oRows), static_cast<unsigned>(Result::Garbled)) << "must not ask for ever";
    EXPECT_EQ(oRows.size(), 3U);
}

TEST(ConfigClient, ReadWithoutARowFailsAndDeletionNamesItsPosition)
{
    ScriptedRequester oRequester;
    platform::ConfigClient oClient(oRequester, false);
    korrin::NameList oNames;
    korrin::ValueList oValues = row(9);
    EXPECT_NE(oClient.getrow("T", 0, oNames, oValues), 0U);
    oRequester.answer(Result::NoSuchRow);
    EXPECT_NE(oClient.getrowbykey("T", "Id", "1", oNames, oValues), 0U);
    EXPECT_EQ(oValues, row(9));
    oClient.deleterow("T", 3);
    EXPECT_EQ(oRequester.m_oLast.m_uiNumber, 3U);
}

} // namespace
