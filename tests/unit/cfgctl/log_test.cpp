#include "cfgctl/answer.h"
#include "cfgctl/logrows.h"
#include "cfgctl/text.h"
#include "tests/unit/config/memoryclient.h"

#include <gmock/gmock.h>
#include <sstream>

using namespace cfgctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr std::time_t s_iNow = 1772383509 + 180; // three minutes after 2026-03-01T17:45:09+0100

korrin::ValueList makeLog(const std::string& a_strColumns, const std::string& a_strResponse)
{
    korrin::ValueList oRow = makeRow(a_strColumns);
    oRow.add("Response", platform::text(a_strResponse));
    return oRow;
}

StatusSources makeSources()
{
    StatusSources oSources;
    oSources.m_oAccounts = {makeRow("Id=1 Hostname=alice.example.org Interface=ppp0 ExpectedResultSubString=good"),
                            makeRow("Id=2 Hostname=bob.example.org Interface=eth0 ExpectedResultSubString=good")};
    oSources.m_oLog = {
        makeLog("Id=1 DynDnsId=2 ResponseCode=401 Timestamp=2026-03-01T18:45:09+0200", "later"),
        makeLog("Id=2 DynDnsId=1 ResponseCode=0 Timestamp=soon", "unreadable"),
        makeLog("Id=3 DynDnsId=1 ResponseCode=403 Timestamp=2026-03-01T17:45:08+0100", "&lt;b&gt;\r\n\tbad\x1b  auth"),
        makeLog("Id=4 DynDnsId=2 ResponseCode=200 Timestamp=2026-03-01T17:45:09+0100", "good")};
    return oSources;
}

std::string idsOf(const Rows& a_oRows)
{
    return join(a_oRows, " ", [](const korrin::ValueList& a_oRow) { return textOf(a_oRow, "Id"); });
}

std::size_t widestLine(const std::string& a_strText)
{
    std::istringstream oText(a_strText);
    std::size_t uiWidest = 0;
    for (std::string strLine; std::getline(oText, strLine);)
    {
        uiWidest = std::max(uiWidest, displayWidth(strLine));
    }
    return uiWidest;
}

} // namespace

TEST(Log, IsInOrderOfTime)
{
    const StatusSources oSources = makeSources();
    EXPECT_EQ(idsOf(makeLogRows(oSources, 0, 0, s_iNow)), "3 2 1 4");
    EXPECT_EQ(idsOf(makeLogRows(oSources, 2, 1, s_iNow)), "4");
}

TEST(Log, EachAttemptIsOneReadableLine)
{
    const Rows oRows = makeLogRows(makeSources(), 0, 0, s_iNow);
    EXPECT_EQ(renderLog(oRows, {}),
              "When                                 Id  Hostname           Outcome  Code  Answer\n"
              "2026-03-01 17:45:08 (3 minutes ago)   1  alice.example.org  failed    403  <b> bad\\x1b auth\n"
              "soon                                  1  alice.example.org  failed      0  unreadable\n"
              "2026-03-01 18:45:09 (3 minutes ago)   2  bob.example.org    failed    401  later\n"
              "2026-03-01 17:45:09 (3 minutes ago)   2  bob.example.org    updated   200  good\n");
    const std::string strNarrow = renderLog(oRows, Layout{false, 72});
    EXPECT_THAT(strNarrow,
                HasSubstr("2026-03-01 17:45:08   1  alice.example.org  failed    403  <b> bad\\x1b \u2026\n"));
    EXPECT_LE(widestLine(strNarrow), 72U);
    EXPECT_THAT(renderLog(oRows, Layout{false, 40}), HasSubstr("Answer    later\n"));
    EXPECT_LE(widestLine(makeLogLine(oRows.front(), Layout{false, 66})), 66U);
    EXPECT_THAT(makeLogLine(oRows.front(), Layout{false, 40}), testing::EndsWith("403  <b> bad\\x1b auth\n"));
}

TEST(Log, ShowsTheTextOfPages)
{
    EXPECT_EQ(
        readableAnswer("\r\n&lt;!DOCTYPE html&gt;&lt;title&gt;401&lt;/title&gt;&lt;p class=x&gt;M&amp;amp;M &lt;cut"),
        "401 M&M");
}

// The shape that cfgctl(1) describes.
TEST(Log, JsonHoldsFacts)
{
    const Rows oRows = makeLogRows(makeSources(), 0, 3, s_iNow);
    EXPECT_EQ(rowToJson(oRows.front()),
              R"({"Id":4,"DynDnsId":2,"Hostname":"bob.example.org","Interface":"eth0",)"
              R"("Timestamp":"2026-03-01T17:45:09+0100","AgeSeconds":180,"Outcome":"updated","ResponseCode":200,)"
              R"("Response":"good"})"
              "\n");
}

TEST(Log, ExplainsEachRefusalOnce)
{
    StatusSources oSources = makeSources();
    EXPECT_EQ(explainRefusals(makeLogRows(oSources, 2, 0, s_iNow)), ""); // the account works again
    oSources.m_oLog.erase(std::next(oSources.m_oLog.begin()));
    oSources.m_oLog.pop_back();
    EXPECT_THAT(explainRefusals(makeLogRows(oSources, 0, 0, s_iNow)), testing::StartsWith("accounts 1, 2: "));
    oSources.m_oLog.push_back(makeLog("Id=5 DynDnsId=1 ResponseCode=401 Timestamp=x", "good")); // good all the same
    EXPECT_THAT(explainRefusals(makeLogRows(oSources, 0, 0, s_iNow)), testing::StartsWith("account 2: "));
}

// A provider may repeat what it was sent.
TEST(Answer, LosesSecretsBeforeItLeavesTheMachine)
{
    korrin::ValueList oAccount = makeRow("Id=1 Hostname=home.example.org Password=p%26ss%3Dword");
    oAccount.add("ServerAddr",
                 platform::text("https://userkey@dyn.example.net/u/0123456789abcdef/update?host=home&token=t0psecret"));
    const auto show = [&](const std::string& a_strAnswer) { return publicAnswer(a_strAnswer, oAccount); };
    EXPECT_EQ(show("badauth\t for  home.example.org\r\x1b"), "badauth for home.example.org \x1b");
    EXPECT_EQ(show("wrong p%26ss%3Dword"), "wrong ********");
    EXPECT_EQ(show("wrong p&amp;ss=word, update"), "wrong ********, update");
    EXPECT_EQ(show("u/0123456789abcdef: t0psecret, userkey"), "u/********: ********, ********");
    EXPECT_EQ(show("see https://dyn.example.net/?a=b now"), "see ******** now");
    EXPECT_EQ(show("cut in t0ps"), "cut in ********");
    EXPECT_EQ(displayWidth(show(std::string(150, 'x'))), 100U);
}
