#include "korrin/value.h"
#include "korrin/valuelist.h"
#include "vadro/error/assert.h"
#include "vadro/error/defaultasserthook.h"
#include "vadro/string/replace.h"

#include "tests/unit/support/logcapture.h"

#include <climits>

using korrin::Value;
using korrin::ValueList;
using vadro::string::replaceAllOccurrences;

TEST(Value, TextConvertsToIntegerAndBack)
{
    const std::pair<const char*, int> aoSamples[] = {
        {"", 0}, {" -4x", -4}, {"0x10", 0}, {nullptr, 0}, {"2147483648", INT_MAX}, {"-99999999999999999999", INT_MIN}};
    for (const auto& [pText, iInteger] : aoSamples)
    {
        EXPECT_EQ(iInteger, Value(korrin::eValueText, pText).getInteger());
    }
    EXPECT_EQ("-2147483648", Value(korrin::eValueInteger, INT_MIN).getText());
    EXPECT_EQ(UINT_MAX, Value(korrin::eValueInteger, -1).getUnsigned());
}

TEST(ValueList, DiffersInLengthOrderNameTypeOrContent)
{
    using Pair = ValueList::value_type;
    const Pair oA{"a", Value(korrin::eValueInteger, 1)};
    const Pair oB{"b", Value(korrin::eValueInteger, 2)};
    ValueList oBase;
    oBase.assign({oA, oB});
    const std::initializer_list<Pair> aoOthers[] = {
        {oA}, {oB, oA}, {oA, oB, oB}, {{"A", oA.second}, oB}, {oA, {"b", oA.second}}, {{"a", Value(4, "1")}, oB}};
    for (const auto& oPairs : aoOthers)
    {
        ValueList oOther;
        oOther.assign(oPairs);
        EXPECT_TRUE(oBase != oOther);
    }
    ValueList oCopy = oBase;
    EXPECT_FALSE(oBase != oCopy);
    oCopy.remove("a");
    EXPECT_EQ(1U, oCopy.size());
    EXPECT_EQ("", oCopy.getValue("a").getText());
}

TEST(ReplaceAllOccurrences, ScansTheTextOnlyOnce)
{
    EXPECT_EQ("x=1&y=1", replaceAllOccurrences("x=<i>&y=<i>", "<i>", "1"));
    EXPECT_EQ("<i><i>", replaceAllOccurrences("<i>", "<i>", "<i><i>")); // inserted text is not scanned again
    EXPECT_EQ("aaa", replaceAllOccurrences("aaa", "", "b"));
    EXPECT_EQ("", replaceAllOccurrences("aa", "a", ""));
}

TEST(Assert, CarriesItsArgumentsAndIsReportedWhereTheHookSays)
{
    using namespace vadro::error;
    const auto oFail = []
    { Assert::throwAssertionFailed(eConstruction, "configobjects", 31, "!m_strTable\n.empty()"); };
    const std::string strWhat = "Assertion failed (construction, type 4) at configobjects:31: !m_strTable\\x0a.empty()";
    LogCapture oCapture;
    EXPECT_THAT(oFail, testing::ThrowsMessage<AssertionFailed>(strWhat));
    EXPECT_EQ("", oCapture.take()) << "reported without a hook";
    DefaultAssertHook oHook;
    EXPECT_THROW(oFail(), AssertionFailed);
    EXPECT_EQ(strWhat + "\n", oCapture.take());
    oHook.setSyslog(true); // the log, which the foreground shows as well
    EXPECT_THROW(oFail(), AssertionFailed);
    EXPECT_NE(std::string::npos, oCapture.take().find(" error configobjects:31: Assertion failed"));
    EXPECT_THROW(Assert::throwBadAlloc(), std::bad_alloc);
}
