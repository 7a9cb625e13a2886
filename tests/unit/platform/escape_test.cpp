#include "platform/base/escape.h"

#include <gtest/gtest.h>

using platform::escape;
using namespace std::string_literals;

TEST(Escape, NastySamples)
{
    const std::pair<std::string, std::string> aoSamples[] = {
        {"", ""},
        {"good 127.0.0.1 ~", "good 127.0.0.1 ~"},
        {"ok\nJan 1 00:00:00 quorvad: forged", "ok\\x0aJan 1 00:00:00 quorvad: forged"},
        {"\r\t\x1b[2J\x7f", "\\x0d\\x09\\x1b[2J\\x7f"},
        {"a\0b"s, "a\\x00b"},
        {"\\x0a", "\\x5cx0a"}, // plain text must not look like an escape
        {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80", "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80"},
        {"\xc2\x9b"s + "2J \xc2\xa0", "\\xc2\\x9b"s + "2J \xc2\xa0"}, // C1 controls act on terminals, U+00A0 does not
        {"\x80 \xbf \xff \xfe", "\\x80 \\xbf \\xff \\xfe"},
        {"\xc0\xaf \xc1\xbf \xe0\x9f\xbf \xf0\x8f\xbf\xbf", // overlong
         "\\xc0\\xaf \\xc1\\xbf \\xe0\\x9f\\xbf \\xf0\\x8f\\xbf\\xbf"},
        {"\xed\x9f\xbf \xed\xa0\x80 \xee\x80\x80", "\xed\x9f\xbf \\xed\\xa0\\x80 \xee\x80\x80"}, // a surrogate
        {"\xf4\x8f\xbf\xbf \xf4\x90\x80\x80 \xf5\x80", "\xf4\x8f\xbf\xbf \\xf4\\x90\\x80\\x80 \\xf5\\x80"},
        {"\xe2\x82", "\\xe2\\x82"},   // truncated
        {"\xe2\x82z", "\\xe2\\x82z"}, // the byte after a broken sequence is kept
        {"\xf0\x9f\x98\n", "\\xf0\\x9f\\x98\\x0a"},
    };
    for (const auto& [strText, strVisible] : aoSamples)
    {
        EXPECT_EQ(strVisible, escape(strText));
    }
}

TEST(Escape, LongTextsAreCutAtACharacterAndMarked)
{
    EXPECT_EQ("abc", escape("abc", 3));
    EXPECT_EQ("abc...[cut, 4 bytes]", escape("abcd", 3));
    EXPECT_EQ("a...[cut, 2 bytes]", escape("a\n", 4)); // an escape is not split
    EXPECT_EQ("a...[cut, 4 bytes]", escape("a\xe2\x82\xac", 3));
}
