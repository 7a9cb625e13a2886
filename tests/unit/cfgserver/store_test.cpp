#include "samples.h"

#include <gmock/gmock.h>

using namespace cfgserver;
using namespace samples;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using wire::Result;

namespace
{

struct StoreTest : testing::Test
{
    Database m_oDatabase{":memory:"};
    Store m_oStore{m_oDatabase};
    Transaction m_oWrites{m_oStore};
    Table& m_oDynDns = m_oWrites.edit(tableOf("DynDns"));
    Table& m_oNetif = m_oWrites.edit(tableOf("StatusNetifWatch"));
};

} // namespace

TEST_F(StoreTest, IdsAreNotReusedUntilTheyRunOut)
{
    m_oDynDns.insert(row({}));
    m_oDynDns.insert(row({{"Id", integer(7)}}));
    m_oDynDns.erase("Id", "7");
    m_oDynDns.insert(row({}));
    m_oDynDns.insert(row({{"Id", integer(2147483647)}}));
    m_oDynDns.insert(row({}));
    EXPECT_EQ(columnOf(m_oDynDns, "Id"), "1,8,2147483647,2");
}

TEST_F(StoreTest, RefusalsGiveTheReasonAndWriteNothing)
{
    Table& oRelay = m_oWrites.edit(tableOf("DNSRelay"));
    m_oDynDns.insert(row({{"Password", text("sesame")}}));
    m_oDynDns.insert(row({}));
    m_oNetif.insert(row({{"Name", text("eth0")}}));
    m_oNetif.insert(row({{"Name", text("eth1")}}));
    const Table oDynDns = m_oDynDns;
    const Table oNetif = m_oNetif;
    const std::string strLong(g_uiMaxText + 1, 'x');
    const auto insert = [](Table& a_oTable, Pairs a_oPairs)
    { return [&a_oTable, oRow = row(a_oPairs)] { a_oTable.insert(oRow); }; };
    const auto update = [](Table& a_oTable, const char* a_pColumn, const char* a_pKey, Pairs a_oPairs)
    { return [&a_oTable, a_pColumn, a_pKey, oRow = row(a_oPairs)] { a_oTable.update(a_pColumn, a_pKey, oRow); }; };
    const std::tuple<std::function<void()>, Result, const char*> oCases[] = {
        {insert(m_oDynDns, {{"Retry", integer(1)}, {"nope\n", text("")}}), Result::UnknownColumn, "'nope\\x0a'"},
        {insert(m_oDynDns, {{"Retry", text("1")}}), Result::WrongType, "Retry of table DynDns takes an integer"},
        {insert(m_oDynDns, {{"Hostname", korrin::Value(0U, 0)}}), Result::WrongType, "neither"},
        {insert(m_oDynDns, {{"Retry", integer(1)}, {"Retry", integer(2)}}), Result::BadRequest, "named twice"},
        {insert(m_oDynDns, {{"Hostname", text(strLong)}}), Result::TooLarge, "at most 65536 bytes"},
        {insert(m_oDynDns, {{"Id", integer(0)}}), Result::BadRequest, "starts at 1"},
        {insert(m_oDynDns, {{"Id", integer(2)}}), Result::DuplicateKey, "Id '2'"},
        {update(m_oDynDns, "Id", "1", {{"Id", integer(9)}}), Result::BadRequest, "cannot be changed"},
        {update(m_oDynDns, "Id", "1", {{"Enable", integer(0)}, {"Retry", text("x")}}), Result::WrongType, "Retry"},
        {insert(m_oNetif, {{"Name", text("eth1")}}), Result::DuplicateKey, "Name 'eth1'"},
        {update(m_oNetif, "Name", "eth0", {{"Name", text("eth1")}}), Result::DuplicateKey, "eth1"},
        {[&] { m_oNetif.erase(2); }, Result::NoSuchRow, "no position 2, only 2 rows"},
        {[&] { (void)m_oNetif.getRow("Id", "01"); }, Result::NoSuchRow, "Id '01'"},
        {insert(oRelay, {}), Result::NotSupported, "exactly one row"},
        {[&] { oRelay.erase(0); }, Result::NotSupported, "exactly one row"},
        {[&] { m_oDynDns.erase("Password", "guess"); }, Result::NoSuchRow, "Password of that value"},
    };
    for (const auto& [oAction, eExpected, pText] : oCases)
    {
        const auto [eResult, strText] = refusalOf(oAction);
        EXPECT_EQ(eResult, eExpected) << pText;
        EXPECT_THAT(strText, AllOf(HasSubstr(pText), Not(HasSubstr("guess"))));
    }
    EXPECT_TRUE(m_oDynDns.holdsSame(oDynDns) && m_oNetif.holdsSame(oNetif));
    EXPECT_EQ(columnOf(oRelay, "Id"), "1");
    EXPECT_EQ(&m_oNetif.getRow("Addr", ""), &m_oNetif.getRow(0)) << "the first of several";
    m_oNetif.update("Name", "eth0", row({{"Name", text("eth2")}}));
    m_oNetif.insert(row({{"Name", text("eth0")}})); // free again
}

TEST_F(StoreTest, TheDigestTellsValuesAndTheirOrder)
{
    const auto digestOf = [](const Pairs& a_oFirst, const Pairs& a_oSecond)
    {
        Table oTable(getSchema()[tableOf("DynDns")]);
        oTable.insert(row(a_oFirst));
        oTable.insert(row(a_oSecond));
        return oTable.getDigest();
    };
    const Pairs oOne{{"Id", integer(1)}, {"Interface", text("ab")}};
    const Pairs oTwo{{"Id", integer(2)}, {"Hostname", text("c")}};
    const Pairs oMoved{{"Id", integer(1)}, {"Interface", text("a")}, {"ServiceType", text("b")}};
    EXPECT_EQ(digestOf(oOne, oTwo), digestOf(oOne, oTwo));
    EXPECT_NE(digestOf(oOne, oTwo), digestOf(oTwo, oOne));
    EXPECT_NE(digestOf(oOne, oTwo), digestOf(oMoved, oTwo));
}

TEST_F(StoreTest, ATableIsLimitedInBytes)
{
    const std::string strBig(g_uiMaxText, 'x');
    std::size_t uiRows = 0;
    while (uiRows < 1000 && refusalOf([&] { m_oDynDns.insert(row({{"Hostname", text(strBig)}})); }).first == Result::Ok)
    {
        ++uiRows;
    }
    EXPECT_GT(uiRows, 200U);
    EXPECT_LT(uiRows, 257U);
    const auto oMore = row({{"ServerAddr", text(strBig)}});
    EXPECT_EQ(refusalOf([&] { m_oDynDns.update("Id", "1", oMore); }).first, Result::TooLarge);
    m_oDynDns.erase(0);
    m_oDynDns.insert(row({{"Hostname", text(strBig)}})); // room again
}

TEST_F(StoreTest, CommitsReportOnlyTablesThatChanged)
{
    const std::size_t uiNetif = tableOf("StatusNetifWatch");
    const std::size_t uiEtl = tableOf("etl");
    Transaction oFirst(m_oStore);
    oFirst.edit(uiEtl).update("Id", "1", row({{"serial_no", text("S1")}}));
    oFirst.edit(uiNetif).insert(row({{"Id", integer(1)}, {"Name", text("eth0")}}));
    EXPECT_THAT(m_oStore.commit(oFirst), ElementsAre(uiNetif, uiEtl));
    Transaction oSame(m_oStore);
    oSame.edit(uiEtl).update("Id", "1", row({{"serial_no", text("S1")}}));
    oSame.edit(uiNetif).erase(0);
    oSame.edit(uiNetif).insert(row({{"Id", integer(1)}, {"Name", text("eth0")}}));
    EXPECT_THAT(m_oStore.commit(oSame), IsEmpty());
    Transaction oLast(m_oStore);
    oLast.edit(uiNetif).erase(0);
    EXPECT_THAT(m_oStore.commit(oLast), ElementsAre(uiNetif));
}
