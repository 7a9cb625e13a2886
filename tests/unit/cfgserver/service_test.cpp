#include "cfgserver/service.h"
#include "samples.h"

#include "platform/wire/frame.h"

#include <gmock/gmock.h>

using namespace cfgserver;
using namespace samples;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using wire::Operation;
using wire::Result;

namespace
{

constexpr std::chrono::seconds s_oIdleLimit(30);
constexpr std::chrono::seconds s_oTotalLimit(100);

wire::Request insertion(const korrin::ValueList& a_oValues = {})
{
    return request(Operation::InsertRow, "DynDns", a_oValues);
}

struct ServiceTest : testing::Test
{
    Database m_oDatabase{":memory:"};
    Store m_oStore{m_oDatabase};
    Service m_oService{m_oStore, {s_oIdleLimit, s_oTotalLimit}};
    Clock::time_point m_oNow = Clock::now();
    Client m_oWriter;
    Client m_oOther;

    void SetUp() override
    {
        ask(m_oWriter, hello("writer"));
        ask(m_oOther, hello("o\nther"));
    }

    wire::Reply ask(Client& a_oClient, const wire::Request& a_oRequest)
    {
        return m_oService.answer(a_oClient, a_oRequest, m_oNow).m_oReply;
    }

    Result result(Client& a_oClient, Operation a_eOperation) { return ask(a_oClient, request(a_eOperation)).m_eResult; }

    std::uint32_t count(Client& a_oClient) { return ask(a_oClient, request(Operation::GetRowCount)).m_uiNumber; }
};

} // namespace

TEST_F(ServiceTest, HelloComesFirstAndOnceWithTheRightVersion)
{
    Client oClient;
    EXPECT_EQ(result(oClient, Operation::GetTables), Result::BadRequest);
    wire::Request oHello = hello("new");
    oHello.m_uiNumber = 2;
    EXPECT_THAT(ask(oClient, oHello).m_strError, HasSubstr("version 2, this service 1"));
    oHello.m_uiNumber = 1;
    oHello.m_oNames.add("Nope");
    EXPECT_EQ(ask(oClient, oHello).m_eResult, Result::UnknownTable);
    EXPECT_FALSE(oClient.m_bGreeted);
    EXPECT_EQ(ask(oClient, hello("new")).m_oRows.front(),
              row({{"Service", text("cfgserver")}, {"Version", text("1.1.1")}, {"Digests", integer(1)}}));
    EXPECT_EQ(ask(oClient, hello("again")).m_eResult, Result::BadRequest);
}

TEST_F(ServiceTest, OneClientWritesAndOthersSeeItAfterTheCommit)
{
    EXPECT_EQ(ask(m_oWriter, insertion()).m_eResult, Result::NoAccess);
    EXPECT_EQ(result(m_oWriter, Operation::GetAccess), Result::Ok);
    EXPECT_EQ(result(m_oWriter, Operation::GetAccess), Result::Ok) << "asking again is harmless";
    EXPECT_THAT(ask(m_oOther, request(Operation::GetAccess)).m_strError, HasSubstr("client 'writer' is writing"));
    EXPECT_EQ(ask(m_oWriter, insertion()).m_eResult, Result::Ok);
    EXPECT_EQ(ask(m_oWriter, insertion(row({{"Retry", text("")}}))).m_eResult, Result::WrongType);
    EXPECT_EQ(ask(m_oOther, insertion()).m_eResult, Result::NoAccess);
    EXPECT_EQ(count(m_oWriter), 1U);
    EXPECT_EQ(count(m_oOther), 0U);
    EXPECT_EQ(result(m_oWriter, Operation::Commit), Result::Ok);
    EXPECT_EQ(count(m_oOther), 1U);
    EXPECT_EQ(result(m_oWriter, Operation::Commit), Result::NoAccess) << "a commit ends the access";
}

TEST_F(ServiceTest, UncommittedWritesEndWithTheAccess)
{
    const std::function<void()> oEnds[] = {
        [&] { EXPECT_EQ(result(m_oWriter, Operation::DropAccess), Result::Ok); },
        [&] { m_oService.leave(m_oWriter); },
        [&]
        {
            m_oNow += s_oIdleLimit - std::chrono::seconds(1);
            EXPECT_EQ(count(m_oWriter), 1U); // any request restarts the idle time
            EXPECT_EQ(m_oService.getDeadline(), m_oNow + s_oIdleLimit);
            m_oService.expire(m_oNow + s_oIdleLimit - std::chrono::seconds(1));
            EXPECT_EQ(result(m_oOther, Operation::GetAccess), Result::AccessTaken);
            m_oService.expire(m_oNow + s_oIdleLimit);
        },
        [&]
        {
            for (const auto oEnd = m_oNow + s_oTotalLimit; m_oNow < oEnd; m_oNow += s_oIdleLimit / 2)
            {
                EXPECT_EQ(result(m_oWriter, Operation::GetAccess), Result::Ok);
                EXPECT_LE(m_oService.getDeadline(), oEnd);
                m_oService.expire(m_oNow);
            }
            m_oService.expire(m_oNow);
        },
    };
    for (const auto& oEnd : oEnds)
    {
        EXPECT_EQ(result(m_oWriter, Operation::GetAccess), Result::Ok);
        EXPECT_EQ(ask(m_oWriter, insertion()).m_eResult, Result::Ok);
        oEnd();
        EXPECT_EQ(count(m_oWriter), 0U);
        EXPECT_EQ(result(m_oWriter, Operation::Commit), Result::NoAccess);
        EXPECT_EQ(result(m_oOther, Operation::GetAccess), Result::Ok);
        m_oService.leave(m_oOther);
        EXPECT_EQ(m_oService.getDeadline(), Clock::time_point::max());
    }
    Client oReader;
    ask(oReader, hello("reader", row({{"ReadOnly", integer(1)}})));
    EXPECT_EQ(result(oReader, Operation::GetAccess), Result::NoAccess);
}

TEST_F(ServiceTest, TellsWhoIsConnectedAndWhenTablesChanged)
{
    const auto read = [&](const char* a_pTable)
    { return ask(m_oOther, request(Operation::GetRows, a_pTable)).m_oRows; };
    Client oOld;
    oOld.m_iPid = 42;
    ask(oOld, hello("old", row({{wire::g_acAgeOption, integer(100)}, {wire::g_acReadOnlyOption, integer(1)}})));
    result(m_oWriter, Operation::GetAccess);
    ask(m_oWriter, insertion());
    EXPECT_EQ(ask(m_oWriter, request(Operation::InsertRow, "StatusServiceClients")).m_eResult, Result::NotSupported);
    result(m_oWriter, Operation::Commit);
    m_oNow += std::chrono::seconds(7);
    const auto oClients = read("StatusServiceClients");
    ASSERT_EQ(oClients.size(), 3U);
    EXPECT_EQ(oClients.front().getValue("Commits").getInteger(), 1);
    EXPECT_EQ(oClients.back(),
              row({{"Id", integer(3)},
                   {"Name", text("old")},
                   {"Pid", integer(42)},
                   {"User", integer(0)},
                   {"ConnectedSeconds", integer(7)},
                   {"RunningSeconds", integer(107)},
                   {"ReadOnly", integer(1)},
                   {"Commits", integer(0)}}));
    const auto oTables = read("StatusServiceTables");
    EXPECT_EQ(oTables.front(),
              row({{"Id", integer(1)},
                   {"Name", text("DynDns")},
                   {"ChangedSeconds", integer(7)},
                   {"ChangedBy", text("writer")}}));
    EXPECT_EQ(oTables.back().getValue("ChangedSeconds").getInteger(), -1);
    m_oService.leave(oOld);
    EXPECT_EQ(read("StatusServiceClients").size(), 2U);
}

TEST_F(ServiceTest, ReadsSelectColumnsAndAreBounded)
{
    const std::string strLong(g_uiMaxText, 'x');
    result(m_oWriter, Operation::GetAccess);
    korrin::ValueList oRow;
    for (const Column& oColumn : getSchema()[0].m_oColumns)
    {
        if (oColumn.m_oDefault.getType() == korrin::eValueText)
        {
            oRow.add(oColumn.m_strName, text(strLong));
        }
    }
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(ask(m_oWriter, insertion(oRow)).m_eResult, Result::Ok);
    }
    wire::Request oRead = request(Operation::GetRows);
    oRead.m_uiNumber = 1;
    const wire::Reply oPage = ask(m_oWriter, oRead);
    EXPECT_EQ(oPage.m_uiNumber, 3U);
    ASSERT_EQ(oPage.m_oRows.size(), 1U) << "the largest row fills a page";
    EXPECT_EQ(oPage.m_oRows.front().getValue("Id").getInteger(), 2);
    EXPECT_NO_THROW((void)wire::encodeFrame(wire::encode(oPage)));
    oRead.m_uiNumber = 3;
    EXPECT_THAT(ask(m_oWriter, oRead).m_oRows, IsEmpty());

    wire::Request oByKey = request(Operation::GetRowByKey);
    oByKey.m_strKeyColumn = "Id";
    oByKey.m_strKeyValue = "3";
    oByKey.m_oNames.add("Retry");
    oByKey.m_oNames.add("Id");
    EXPECT_EQ(ask(m_oWriter, oByKey).m_oRows.front(), row({{"Retry", integer(5)}, {"Id", integer(3)}}));
    oByKey.m_oNames.add("Retry");
    EXPECT_EQ(ask(m_oWriter, oByKey).m_eResult, Result::BadRequest);
    oByKey.m_oNames.back() = "None";
    EXPECT_EQ(ask(m_oWriter, oByKey).m_eResult, Result::UnknownColumn);
    const wire::Reply oUnknown = ask(m_oWriter, request(Operation::GetRow, "Bad\x1b[0m"));
    EXPECT_EQ(oUnknown.m_eResult, Result::UnknownTable);
    EXPECT_THAT(oUnknown.m_strError, Not(HasSubstr("\x1b")));
}
