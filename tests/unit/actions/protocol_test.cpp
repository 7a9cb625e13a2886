#include "actions/error.h"
#include "actions/gnudipprotocol.h"
#include "actions/httpreply.h"

#include <gtest/gtest.h>

using namespace quorvad;

TEST(Error, TextFollowsTheType)
{
    for (const auto& [eType, pText] :
         {std::pair(Error::ResolvConfLoadFailed, "Failed to load DNS servers from /etc/resolv.XXX.conf"),
          std::pair(Error::CurlEasyInitFailed, "curl_easy_init() failed"),
          std::pair(Error::CurlEasyPerformFailed, "curl_easy_perform() failed"),
          std::pair(Error::CurlEasyGetinfoFailed, "curl_easy_getinfo() failed"),
          std::pair(Error::CurlGlobalInitFailed, "curl_global_init failed"),
          std::pair(Error::GnudipDomainTooShort, "Username is part of gnuDIP domain => domain must be longer"),
          std::pair(Error::AresLibInitFailed, "Ares lib init failed"),
          std::pair(Error::AresChannelInitFailed, "Ares channel init failed"),
          std::pair(Error::EmptyNameserverList, "Empty list of DNS nameservers"),
          std::pair(static_cast<Error::Type>(9), "unknown error"),
          std::pair(static_cast<Error::Type>(-1), "unknown error")})
    {
        EXPECT_STREQ(Error(eType).what(), pText);
    }
}

TEST(HttpReply, ExcerptsAreCutBeforeTheyAreEscaped)
{
    std::string strBody = "a<b>\r\n&\"'\n\n";
    removeLineFeeds(strBody);
    EXPECT_EQ(strBody, "a<b>\r&\"'");
    EXPECT_EQ(reportExcerpt(strBody), "a&lt;b&gt;\r&amp;&quot;&#39;");
    EXPECT_EQ(unescapeHtml(reportExcerpt("&lt;" + strBody)), "&lt;" + strBody);
    EXPECT_EQ(shortExcerpt(std::string(101, 'x')).size(), 100U);
    const std::string strWithZero("a\0b", 3);
    EXPECT_EQ(reportExcerpt(strWithZero), strWithZero);
}

// The log keeps only the beginning of a reply; the expected text may have been in the rest.
TEST(HttpReply, ExcerptsAreJudgedAsFarAsTheyReach)
{
    const std::string strLong(300, '&');
    const auto judge = [](long a_iStatus, const std::string& a_strBody, const AcceptingTexts& a_oTexts)
    { return judgeExcerpt(a_iStatus, reportExcerpt(a_strBody), a_oTexts); };
    EXPECT_EQ(judge(200, "a <b> good", {"<b> go", ""}), EHttpVerdict::eTextFound);
    EXPECT_EQ(judge(200, strLong.substr(0, 199), {"good", "nochg"}), EHttpVerdict::eTextMissing);
    EXPECT_EQ(judge(200, strLong + "good", {"good", "nochg"}), std::nullopt);
    EXPECT_EQ(judge(200, "<>", {"lt", ""}), EHttpVerdict::eTextMissing);
    EXPECT_EQ(judge(404, "good", {"good", ""}), EHttpVerdict::eTextFound);
    EXPECT_EQ(judge(404, strLong, {"", ""}), EHttpVerdict::eStatusRefused);
    EXPECT_EQ(judge(0, "Connection error: no good, nochg", {"good", "nochg"}), EHttpVerdict::eStatusRefused);
}

// A provider that has the address already answers with a text of its own, which counts where a text is expected.
TEST(HttpReply, UnchangedAddressIsASuccess)
{
    const AcceptingTexts oTexts{"good", "nochg"};
    EXPECT_EQ(judgeReply(500, "nochg 10.0.0.1", oTexts), EHttpVerdict::eUnchanged);
    EXPECT_EQ(judgeReply(200, "good, IPv6 nochg", oTexts), EHttpVerdict::eTextFound);
    EXPECT_EQ(judgeReply(200, "", oTexts), EHttpVerdict::eEmptyBody);
    EXPECT_EQ(judgeReply(200, "badauth", {"good", ""}), EHttpVerdict::eTextMissing);
    EXPECT_EQ(judgeReply(500, "nochg", {"", "nochg"}), EHttpVerdict::eStatusRefused);
    EXPECT_TRUE(isAccepted(EHttpVerdict::eUnchanged));
}

TEST(Gnudip, RequestForKnownSalt)
{
    EXPECT_EQ(trimSalt("abc\r\n\n\r"), "abc");
    EXPECT_EQ(trimSalt("a\nbc \n"), "a\nbc ");
    EXPECT_EQ(trimSalt("\r\n"), "");
    EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    const std::string strInput = makeHashInput("secret", "XyZ12");
    EXPECT_EQ(strInput, "5ebe2294ecd0e0f08eab7690d2a6ee69.XyZ12");
    EXPECT_EQ(makeGnudipRequest("alice", md5Hex(strInput), "alice.dyn.example.org"),
              "alice:5126e033c5707ed9f5713843634a245b:dyn.example.org:0");
}

TEST(Gnudip, UserNameIsAProperPrefixOfTheHostName)
{
    EXPECT_FALSE(isUserPartOfHost("bob", "bob"));
    EXPECT_FALSE(isUserPartOfHost("Bob", "bob.example.org"));
    EXPECT_FALSE(isUserPartOfHost("bob.example", "bob"));
    EXPECT_TRUE(isUserPartOfHost("", "a"));
    EXPECT_TRUE(isUserPartOfHost("bob", "bobby.example.org"));
    EXPECT_EQ(makeGnudipRequest("bob", "h", "bobby.example.org"), "bob:h:y.example.org:0");
    EXPECT_EQ(makeGnudipRequest("bob", "h", "bobX"), "bob:h::0");
}

TEST(Gnudip, AnswersAreReadLikeStoi)
{
    const struct
    {
        const char* m_pAnswer;
        EGnudipAnswer m_eKind;
        int m_iCode;
    } aoCases[] = {{"0\n", EGnudipAnswer::eCode, 0},
                   {"1", EGnudipAnswer::eCode, 1},
                   {" \t\r\n\v\f2:host", EGnudipAnswer::eCode, 2},
                   {"-1", EGnudipAnswer::eCode, -1},
                   {"0x10", EGnudipAnswer::eCode, 0},
                   {"2147483647", EGnudipAnswer::eCode, 2147483647},
                   {"-2147483648", EGnudipAnswer::eCode, -2147483647 - 1},
                   {"2147483648", EGnudipAnswer::eOutOfRange, 42},
                   {"-99999999999999999999999", EGnudipAnswer::eOutOfRange, 42},
                   {"ok", EGnudipAnswer::eNoNumber, 42},
                   {"- 1", EGnudipAnswer::eNoNumber, 42},
                   {"\n", EGnudipAnswer::eNoNumber, 42}};
    for (const auto& oCase : aoCases)
    {
        int iCode = 42;
        EXPECT_EQ(parseGnudipAnswer(oCase.m_pAnswer, iCode), oCase.m_eKind) << oCase.m_pAnswer;
        EXPECT_EQ(iCode, oCase.m_iCode) << oCase.m_pAnswer;
    }
}
