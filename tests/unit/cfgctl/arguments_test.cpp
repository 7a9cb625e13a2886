#include "cfgctl/arguments.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "tests/unit/cfgctl/expect.h"

#include <gmock/gmock.h>

using cfgctl::parseAssignment;
using cfgctl::UsageError;
using testing::HasSubstr;
using testing::Not;

namespace
{

cfgctl::Request parse(std::vector<const char*> a_oArguments)
{
    a_oArguments.insert(a_oArguments.begin(), "cfgctl");
    return cfgctl::parseArguments(static_cast<int>(a_oArguments.size()), a_oArguments.data());
}

} // namespace

TEST(Assignment, SplitsAtTheFirstEqualsSign)
{
    const std::vector<std::tuple<const char*, const char*, const char*, bool>> oCases = {
        {"ServerAddr=https://x/?a=b&c=d", "ServerAddr", "https://x/?a=b&c=d", false},
        {"Password=", "Password", "", false},
        {"Password=@secret", "Password", "@secret", false},
        {"Password@=-", "Password", "-", true},
        {"Password@=a=b", "Password", "a=b", true},
    };
    for (const auto& [pText, pColumn, pValue, bFromFile] : oCases)
    {
        const cfgctl::Assignment oResult = parseAssignment(pText);
        EXPECT_EQ(oResult.m_strColumn, pColumn) << pText;
        EXPECT_EQ(oResult.m_strValue, pValue) << pText;
        EXPECT_EQ(oResult.m_bFromFile, bFromFile) << pText;
    }
}

TEST(Assignment, RejectsMalformedTextWithoutRepeatingTheValue)
{
    for (const char* pText : {"=geheim", "@=geheim", "1a=geheim", "a b=geheim", "\xc3\xa4=geheim"})
    {
        EXPECT_THAT(reasonOf<UsageError>([&] { (void)parseAssignment(pText); }), Not(HasSubstr("geheim"))) << pText;
    }
    for (const char* pText : {"", "Retry", "Password@="})
    {
        EXPECT_THROW((void)parseAssignment(pText), UsageError) << pText;
    }
}

TEST(Arguments, GlobalOptionsMayStandAnywhere)
{
    for (const auto& oArguments :
         {std::vector<const char*>{"--socket", "/s", "--json", "--wait", "0", "show", "T", "A=1"},
          std::vector<const char*>{"show", "T", "--json", "A=1", "--wait=0", "--socket=/s"}})
    {
        const cfgctl::Request oRequest = parse(oArguments);
        EXPECT_NE(std::get<cfgctl::Command*>(oRequest.m_oCommand), nullptr);
        EXPECT_TRUE(oRequest.m_oOptions.m_bJson);
        EXPECT_EQ(oRequest.m_oOptions.m_strSocket, "/s");
        EXPECT_EQ(oRequest.m_oOptions.m_strTable, "T");
        EXPECT_EQ(oRequest.m_oOptions.m_oAccessTimeout.count(), 0);
        ASSERT_EQ(oRequest.m_oOptions.m_oKey.size(), 1U);
        EXPECT_EQ(oRequest.m_oOptions.m_oKey.front().m_strColumn, "A");
    }
}

TEST(Arguments, ExecTakesTheRestOfTheLine)
{
    const cfgctl::Options oOptions =
        parse({"watch", "--count", "1", "--exec", "mail", "--json", "--exec", "-h"}).m_oOptions;
    EXPECT_EQ(oOptions.m_oExec, (std::vector<std::string>{"mail", "--json", "--exec", "-h"}));
    EXPECT_EQ(oOptions.m_uiCount, 1U);
    EXPECT_FALSE(oOptions.m_bJson);
}

TEST(Arguments, KeyAndValuesAreSeparated)
{
    const cfgctl::Options oSet = parse({"set", "T", "Id=1", "Id=2", "B@=-"}).m_oOptions;
    EXPECT_EQ(oSet.m_oKey.at(0).m_strValue, "1");
    ASSERT_EQ(oSet.m_oValues.size(), 2U);
    EXPECT_TRUE(oSet.m_oValues[1].m_bFromFile);
    EXPECT_EQ(parse({"import", "status"}).m_oOptions.m_strFile, "status"); // a file named like a command
    EXPECT_EQ(parse({"status", "--check", "--max-age", "36h"}).m_oOptions.m_oMaxAgeSec, 36 * 3600);
    const cfgctl::Request oAdd =
        parse({"account", "add", "-p", "a", "--host", "h", "-i", "i", "--expect", "", "--disabled"});
    EXPECT_EQ(std::get<cfgctl::Command*>(oAdd.m_oCommand), cfgctl::runAccountAdd);
    const cfgctl::AccountOptions& oAccount = oAdd.m_oOptions.m_oAccount;
    EXPECT_EQ(oAccount.m_oSpec.m_strExpect, std::string());
    EXPECT_FALSE(oAccount.m_oSpec.m_bEnable || oAccount.m_oSpec.m_iRetry);
}

TEST(Arguments, UsageErrorsPointToTheHelp)
{
    const std::vector<std::vector<const char*>> oCases = {
        {},
        {"shoow"},
        {"--bogus"},
        {"show", "T", "x"},
        {"show", "T", "A=1", "B=1"},
        {"add", "T", "A=1", "A=2"},
        {"add", "T", "A@=-", "B@=-"},
        {"delete", "T", "A=1", "Password=geheim"},
        {"show", "T", "A=1", "--Password:geheim"},
        {"Password=geheim"},
        {"watch", "--timeout", "0"},
        {"watch", "--exec"},
        {"watch", "--exec=true"},
        {"watch", "T", "--exec", "true"},
        {"status", "--wait", "1e9"},
        {"status", "x"},
        {"status", "--check", "--metrics"},
        {"status", "--max-age", "1d"},
        {"status", "--check", "--max-age", "3"},
        {"status", "--check", "--max-age", "30000d"},
        {"account"},
        {"account", "add", "--host", "h", "-i", "eth0"},
        {"account", "add", "--host", "h", "-i", "eth0", "-p", "a", "--url", "b"},
        {"account", "add", "--host", "h", "-i", "eth0", "-p", "a", "--retry", "0"},
        {"account", "add", "--host", "h", "-i", "eth0", "-p", "a", "--password=geheim"},
        {"account", "test", "1", "2"},
        {"account", "set", "1"},
        {"account", "remove", "home"},
        {"log", "--account", "-1"},
    };
    for (const auto& oCase : oCases)
    {
        const std::string strReason = reasonOf<UsageError>([&] { (void)parse(oCase); });
        EXPECT_THAT(strReason, testing::MatchesRegex(".+\\. See 'cfgctl .*--help'")) << testing::PrintToString(oCase);
        EXPECT_THAT(strReason, Not(HasSubstr("geheim")));
    }
}
