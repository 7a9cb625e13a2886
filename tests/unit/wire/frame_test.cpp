#include "platform/wire/frame.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using wire::FrameReader;

// A reader that loses, repeats or merges bytes at some boundary between two reads would show up at one of the splits.
TEST(Frame, SplitReadsGiveTheSamePayloads)
{
    const std::vector<std::string> oPayloads = {"a", std::string("\0\0\0\1", 4), std::string(300, 'x'), "last"};
    std::string strStream;
    for (const std::string& strPayload : oPayloads)
    {
        strStream += wire::encodeFrame(strPayload);
    }
    for (std::size_t uiSplit = 0; uiSplit <= strStream.size(); ++uiSplit)
    {
        FrameReader oReader;
        std::vector<std::string> oSeen;
        for (const std::string& strPart : {strStream.substr(0, uiSplit), strStream.substr(uiSplit)})
        {
            oReader.feed(strPart.data(), strPart.size());
            for (std::string strPayload; oReader.next(strPayload) == FrameReader::State::Payload;)
            {
                oSeen.push_back(strPayload);
            }
        }
        ASSERT_EQ(oSeen, oPayloads) << "split at " << uiSplit;
        ASSERT_EQ(oReader.getBuffered(), 0U);
    }
}

TEST(Frame, ImpossibleLengthsBreakTheReaderForGood)
{
    const std::vector<std::pair<std::string, std::uint32_t>> oSamples = {
        {std::string(4, '\0'), 0U}, {std::string("\x00\x10\x00\x01", 4), 0x100001U}, {"GET / HTTP", 0x47455420U}};
    for (const auto& [strBytes, uiLength] : oSamples)
    {
        FrameReader oReader;
        std::string strPayload;
        oReader.feed(strBytes.data(), strBytes.size());
        EXPECT_EQ(oReader.next(strPayload), FrameReader::State::Broken);
        EXPECT_EQ(oReader.getRefusedLength(), uiLength);
        const std::string strGood = wire::encodeFrame("good");
        oReader.feed(strGood.data(), strGood.size());
        EXPECT_EQ(oReader.next(strPayload), FrameReader::State::Broken);
        EXPECT_EQ(oReader.getBuffered(), 0U);
    }
}

TEST(Frame, PayloadsAreLimitedInSize)
{
    const std::string strLargest(wire::g_uiMaxPayload, 'm');
    const std::string strFrame = wire::encodeFrame(strLargest);
    FrameReader oReader;
    std::string strPayload;
    oReader.feed(strFrame.data(), strFrame.size() - 1);
    EXPECT_EQ(oReader.next(strPayload), FrameReader::State::NeedMore);
    oReader.feed(strFrame.data() + strFrame.size() - 1, 1);
    EXPECT_EQ(oReader.next(strPayload), FrameReader::State::Payload);
    EXPECT_EQ(strPayload, strLargest);
    EXPECT_THROW((void)wire::encodeFrame(strLargest + "m"), std::length_error);
    EXPECT_THROW((void)wire::encodeFrame(""), std::length_error);
}

} // namespace
