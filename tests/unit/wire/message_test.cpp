#include "platform/wire/message.h"

#include <gmock/gmock.h>

#include <climits>

namespace
{

using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;

korrin::ValueList sampleRow()
{
    korrin::ValueList oRow;
    oRow.add("Id", korrin::Value(korrin::eValueInteger, INT_MIN));
    oRow.add("Tries", korrin::Value(korrin::eValueInteger, INT_MAX));
    oRow.add("Password", korrin::Value(korrin::eValueText, "p\0w\xff\n"s));
    oRow.add("Nothing", korrin::Value(korrin::eValueNull, 0));
    return oRow;
}

// Every test against the live service covers the fields themselves.
TEST(Message, ExtremeValuesArriveAsTheyWereSent)
{
    const wire::Reply oReply{UINT_MAX, wire::Result::TooLarge, "", UINT_MAX, {sampleRow(), {}, sampleRow()}, {}};
    const auto oSeen = std::get<wire::Reply>(wire::decode(wire::encode(oReply)));
    EXPECT_EQ(oSeen.m_uiSequence, UINT_MAX);
    EXPECT_EQ(oSeen.m_uiNumber, UINT_MAX);
    EXPECT_EQ(oSeen.m_eResult, wire::Result::TooLarge);
    EXPECT_EQ(oSeen.m_oRows, oReply.m_oRows);
}

TEST(Message, MalformedPayloadsAreRefusedWithoutRepeatingThem)
{
    const std::string strHead = "\x99\x01\x07\x08\x00"s; // request 7: insert a row
    const std::string strTexts = "\xa6"s + "secret\xa0\xa0"s;
    const std::vector<std::pair<std::string, const char*>> oSamples = {
        {"", "cut off"},
        {"\xc1", "unknown to MessagePack"},
        {"\x01", "message is not an array"},
        {"\x90", "message has a wrong number"},
        {"\xdd\xff\xff\xff\xff", "more array elements"},
        {"\xdc\xff\xff" + std::string(100, '\x01'), "more array elements"},
        {"\x92\xdc\x00\x0a\xdc\x00\x0a"s + std::string(13, '\x01'), "more array elements"},
        {"\x92\x01\xdd\x00\x00\xff\xff"s + std::string(65535, '\x90'), "than a message may have"},
        {"\x93\x02\x92\x01\x01\x01", "elements is not known"},
        {std::string(60, '\x91') + "\x01", "nested too deep"},
        {std::string(1000000, '\x91'), "nested too deep"},
        {"\x92\x03\xa6secret\xa6secret", "7 bytes after"},
        {"\x92\x03\xc4\x06secret", "binary data"},
        {"\x92\x03\xdb\xff\xff\xff\xffsecret", "cut off"},
        {"\x92\x03\x81\xa6secret\x01", "a map"},
        {"\x92\x03\xd6\x01 123", "extension"},
        {"\x92\x03\xcb 1234567", "floating point"},
        {"\x92\x03\xc3", "boolean"},
        {"\x92\x03\xc0", "notification table is not a text"},
        {"\x93\x03\xa6secret\xa6secret", "kind 3 with 3"},
        {"\x92\x09\xa6secret", "kind 9 with 2"},
        {"\x92\xff\xa6secret", "message kind is not an unsigned"},
        {"\x99\x01\x07\x00\x00"s + strTexts + "\x90\x90", "operation 0"},
        {"\x99\x01\x07\x10\x00"s + strTexts + "\x90\x90", "operation 16"},
        {"\x99\x01\xcf\x00\x00\x00\x01\x00\x00\x00\x00\x08\x00"s + strTexts + "\x90\x90", "sequence"},
        {"\x97\x02\x07\x0c\xa6secret\x00\x90\x90"s, "result 12"},
        {"\x97\x02\x07\x64\xa6secret\x00\x90\x90"s, "result 100"},
        {"\x97\x02\x07\x00\xa6secret\x00\x91\xa6secret\x90"s, "row is not an array"},
        {strHead + strTexts + "\x91\x01\x90", "name is not a text"},
        {strHead + strTexts + "\x90\xa6secret", "values is not an array"},
        {strHead + strTexts + "\x90\x91\x92\xa6secret\x04", "column has a wrong number"},
        {strHead + strTexts + "\x90\x91\x93\xa6secret\x03\xa6secret", "column type 3"},
        {strHead + strTexts + "\x90\x91\x93\xa6secret\x02\xa6secret", "integer column is not a signed"},
        {strHead + strTexts + "\x90\x91\x93\xa6secret\x02\xce\x80\x00\x00\x00"s, "integer column is not a signed"},
        {strHead + strTexts + "\x90\x91\x93\xa6secret\x04\x05", "text column is not a text"},
        {strHead + strTexts + "\x90\x91\x93\xa6secret\x00\xa6secret"s, "null column is not nil"},
        {strHead + strTexts + "\xdc\x04\x01" + std::string(1025, '\xa0') + "\x90", "names has a wrong number"},
    };
    for (const auto& [strPayload, pReason] : oSamples)
    {
        EXPECT_THAT([&strBytes = strPayload] { (void)wire::decode(strBytes); },
                    testing::ThrowsMessage<wire::DecodeError>(AllOf(HasSubstr(pReason), Not(HasSubstr("secret")))))
            << testing::PrintToString(strPayload.substr(0, 40));
    }
}

TEST(Message, ValueOfAnUnknownTypeIsNotSent)
{
    wire::Request oRequest;
    oRequest.m_oValues.add("Id", korrin::Value(3, 1));
    EXPECT_THROW((void)wire::encode(oRequest), std::invalid_argument);
}

} // namespace
