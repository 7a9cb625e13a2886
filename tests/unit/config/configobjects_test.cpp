#include "config/configobjects.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/support/logcapture.h"

using quorvad::ConfigObject;

TEST(ConfigObject, MarksFirstAndDifferentRowsOnly)
{
    ConfigObject oObject("DynDns", 3);
    for (const char* pRow : {"", "Id=3 Enable=1", "Id=3 Enable=0", "Enable=0 Id=3", "Enable=0 Id=3 Retry=0"})
    {
        korrin::ValueList oRow = makeRow(pRow);
        EXPECT_FALSE(oObject.m_bChanged);
        EXPECT_TRUE(oObject.updateSnapshot(oRow)) << pRow;
        EXPECT_TRUE(oObject.m_bChanged);
        EXPECT_EQ(oObject.m_oLastSnapshot, oRow);
        EXPECT_EQ(oObject.updateSnapshot(oRow), oRow.empty()) << "an empty snapshot never counts as read";
        EXPECT_TRUE(oObject.m_bChanged) << "a change not acted on yet was hidden";
        oObject.m_bChanged = false;
    }
}

TEST(ConfigObject, ReportsBrokenPreconditions)
{
    EXPECT_THAT([] { ConfigObject("", 1); }, Asserts("4) at configobjects:32: a_strMappedTable.size() != 0"));
    ConfigObject oObject("DynDns", 3);
    const auto read = [&] { (void)oObject.getValue("id"); };
    EXPECT_THAT(read, Asserts("1) at confighandler:15: m_oLastSnapshot.size() != 0"));
    korrin::ValueList oRow = makeRow("Id=3");
    oObject.updateSnapshot(oRow);
    EXPECT_THAT(read, Asserts("1) at confighandler:16: m_oLastSnapshot.hasValue(a_strParamName)"));
    EXPECT_EQ(oObject.getValue("Id").getInteger(), 3);
    EXPECT_TRUE(quorvad::unsignedOf(oRow, "Enable") == 0 && quorvad::integerOf(oRow, "Retry") == 0);
}

TEST(ConfigObject, LeavesNothingBehindWhenMoved)
{
    ConfigObject oObject("DynDnsLog", 7);
    korrin::ValueList oRow = makeRow("DynDnsId=7");
    oObject.updateSnapshot(oRow);
    ConfigObject oMoved(std::move(oObject));
    ConfigObject oAssigned("DynDns", 1);
    oAssigned = std::move(oMoved);
    for (const ConfigObject* pSource : {&oObject, &oMoved}) // NOLINT(bugprone-use-after-move): that is the question
    {
        EXPECT_TRUE(pSource->m_strMappedTable.empty() && pSource->m_oLastSnapshot.empty());
    }
    EXPECT_EQ(oAssigned.m_strMappedTable + std::to_string(oAssigned.m_uiId), "DynDnsLog7");
    EXPECT_TRUE(oAssigned.m_oLastSnapshot == oRow && oAssigned.m_bChanged);
}
