#include "cfgctl/assignment.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "cfgctl/timestamp.h"
#include "platform/common/localtime.h"
#include "tests/unit/cfgctl/expect.h"
#include "tests/unit/support/liveservice.h"

#include <climits>
#include <gmock/gmock.h>
#include <sys/stat.h>

using cfgctl::Failure;
using testing::HasSubstr;

namespace
{

korrin::ValueList makeColumns()
{
    korrin::ValueList oColumns;
    oColumns.add("Number", korrin::Value(korrin::eValueInteger, 0));
    oColumns.add("Text", korrin::Value(korrin::eValueText, ""));
    return oColumns;
}

korrin::Value parse(const std::string& a_strColumn, const std::string& a_strText)
{
    return cfgctl::parseValue("T", makeColumns(), a_strColumn, a_strText);
}

} // namespace

TEST(ColumnValue, IsCheckedAgainstTheColumn)
{
    EXPECT_EQ(parse("Number", "-2147483648"), korrin::Value(korrin::eValueInteger, INT_MIN));
    EXPECT_EQ(parse("Number", "2147483647"), korrin::Value(korrin::eValueInteger, INT_MAX));
    EXPECT_EQ(parse("Text", "5"), korrin::Value(korrin::eValueText, "5"));
    for (const char* pText : {"", " 1", "1 ", "+1", "0x10", "1.0", "2147483648", "-2147483649", "on"})
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)parse("Number", pText); }), HasSubstr("T.Number")) << pText;
    }
    for (const std::string& strText : {std::string("\xff"), std::string("a\0b", 3)})
    {
        EXPECT_THAT(reasonOf<Failure>([&] { (void)parse("Text", strText); }), HasSubstr("T.Text"));
    }
    EXPECT_THAT(reasonOf<Failure>([&] { (void)parse("text", "x"); }), HasSubstr("it has Number, Text"));
}

TEST(InputFile, OneTrailingLineEndIsDropped)
{
    const Folder oFolder;
    const std::vector<std::pair<const char*, const char*>> oCases = {
        {"", ""}, {"\n", ""}, {"secret\n", "secret"}, {"secret\r\n", "secret"}, {"a\n\n", "a\n"}, {"\r", "\r"}};
    for (const auto& [pContent, pValue] : oCases)
    {
        std::vector<cfgctl::Assignment> oAssignments = {{"Password", oFolder.write("value", pContent), true},
                                                        {"Retry", "5\n", false}};
        cfgctl::readValues(oAssignments);
        EXPECT_EQ(oAssignments[0].m_strValue, pValue);
        EXPECT_EQ(oAssignments[1].m_strValue, "5\n");
    }
}

TEST(InputFile, SaysWhyItCannotBeRead)
{
    const Folder oFolder;
    const std::string strFile = oFolder.write("ten", "0123456789");
    EXPECT_EQ(cfgctl::readFile(strFile, 10), "0123456789");
    EXPECT_THAT(reasonOf<Failure>([&] { (void)cfgctl::readFile(strFile, 9); }), HasSubstr("larger than 9 bytes"));
    EXPECT_THAT(reasonOf<Failure>([&] { (void)cfgctl::readFile(oFolder / "none", 9); }), HasSubstr("No such file"));
    EXPECT_THAT(reasonOf<Failure>([&] { (void)cfgctl::readFile(oFolder / "", 9); }), HasSubstr("Is a directory"));
    EXPECT_THAT(reasonOf<Failure>([] { (void)cfgctl::readFile("/dev/zero", 9); }), HasSubstr("larger"));
    ASSERT_EQ(mkfifo((oFolder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(cfgctl::readFile(oFolder / "pipe", 9), "");
}

TEST(OutputFile, IsPrivateAndReplacedAtomically)
{
    const Folder oFolder;
    const std::string strFile = oFolder.write("export", "old");
    chmod(strFile.c_str(), 0644);
    cfgctl::writeFile(strFile, "new");
    EXPECT_EQ(cfgctl::readFile(strFile, 100), "new");
    EXPECT_EQ(std::filesystem::status(strFile).permissions(), std::filesystem::perms(0600));
    EXPECT_THAT(reasonOf<Failure>([] { cfgctl::writeFile("/dev/full", "x"); }), HasSubstr("No space left"));
    EXPECT_THAT(reasonOf<Failure>([&] { cfgctl::writeFile(oFolder / "none/x", "x"); }), HasSubstr("No such file"));
    EXPECT_THROW(cfgctl::writeFile(oFolder / "", "x"), Failure);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(oFolder / ""), {}), 1)
        << "a temporary file was left behind";
}

TEST(Secrets, HidesPasswordsAndAnythingInAUrlThatMayBeOne)
{
    const std::vector<std::tuple<const char*, const char*, const char*>> oCases = {
        {"Password", "geheim", "********"},
        {"Password", "", ""},
        {"Hostname", "https://u:p@h/?k=v", "https://u:p@h/?k=v"},
        {"ServerAddr", "gnudip.example.org", "gnudip.example.org"},
        {"ServerAddr",
         "https://h/up?host=<domain>&ip=<ipaddr>,<ipaddr6>",
         "https://h/up?host=<domain>&ip=<ipaddr>,<ipaddr6>"},
        {"ServerAddr", "https://h/up?key=k1&h=<domain>", "https://h/up?key=********&h=<domain>"},
        {"ServerAddr", "https://h/up?k1", "https://h/up?********"},
        {"ServerAddr", "https://h/up?a=<password>x;b=", "https://h/up?a=********;b="},
        {"ServerAddr", "https://u:p@h/x@y", "https://u:********@h/x@y"},
        {"ServerAddr", "https://key@h/", "https://********@h/"},
        {"ServerAddr", "https://<username>:<password>@h/", "https://<username>:<password>@h/"},
        {"ServerAddr", "u:p@h", "u:********@h"},
        {"ServerAddr", "https://h/?k=ge?heim&sys=1", "https://h/?k=********&sys=********"},
        {"ServerAddr", "https://u:p@q@h?x", "https://u:********@h?********"},
    };
    for (const auto& [pColumn, pValue, pShown] : oCases)
    {
        EXPECT_EQ(cfgctl::hideSecret("DynDns", pColumn, pValue), pShown);
        EXPECT_EQ(cfgctl::hideSecret("Other", pColumn, pValue), pValue);
    }
}

TEST(Secrets, ShowsWhatTheProviderPublishes)
{
    const std::string strUrl = "https://h.example/?sys=1&k=geheim&p=<password>";
    EXPECT_EQ(cfgctl::hideTemplate(strUrl, {"https://h.example/?sys=1&k=<username>&p=<password>"}),
              "https://h.example/?sys=1&k=********&p=<password>");
    EXPECT_EQ(cfgctl::hideTemplate("https://h/?k=ge?heim&sys=1", {"https://h/?k=ge&sys=1"}),
              "https://h/?k=********&sys=1");
    EXPECT_EQ(cfgctl::hideTemplate(strUrl, {}), "https://h.example/?sys=********&k=********&p=<password>");
}

TEST(Timestamp, IsParsedInAnyZone)
{
    EXPECT_EQ(cfgctl::parseTimestamp("1970-01-01T00:00:00+0000"), 0);
    EXPECT_EQ(cfgctl::parseTimestamp("2026-03-01T17:45:09+0100"), 1772383509);
    EXPECT_EQ(cfgctl::parseTimestamp("2026-03-01T11:15:09-0530"), 1772383509);
    EXPECT_EQ(cfgctl::parseTimestamp("1970-01-01T00:00:60-0000"), 60);
    EXPECT_EQ(cfgctl::parseTimestamp(platform::formatLocalTime(1772383509, platform::g_acIsoFormat)), 1772383509);
    for (const char* pText : {"",
                              "2026-03-01",
                              "2026-03-01T17:45:09Z",
                              "2026-13-01T17:45:09+0100",
                              "2026-03-01T17:45:99+0100",
                              "2026-03-01T 7:45:09+0100",
                              "2026-03-01T17:45:09+01000",
                              "dddd-dd-ddTdd:dd:dd+dddd"})
    {
        EXPECT_FALSE(cfgctl::parseTimestamp(pText)) << pText;
    }
}

TEST(Timestamp, AgeIsDescribed)
{
    const std::vector<std::pair<std::time_t, const char*>> oCases{{59, "just now"},
                                                                  {60, "1 minute ago"},
                                                                  {7200, "2 hours ago"},
                                                                  {172799, "47 hours ago"},
                                                                  {172800, "2 days ago"},
                                                                  {-3, "just now"},
                                                                  {-3600, "1 hour ahead of this clock"}};
    for (const auto& [iSeconds, pText] : oCases)
    {
        EXPECT_EQ(cfgctl::describeAge(iSeconds), pText);
    }
}
