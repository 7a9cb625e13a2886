#include "cfgctl/text.h"

#include "platform/base/escape.h"

#include <algorithm>
#include <array>

namespace cfgctl
{

namespace
{

struct Range
{
    char32_t m_uiFirst;
    char32_t m_uiLast;
};

constexpr std::array<Range, 6> s_oZeroWidth{
    {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}}};
constexpr std::array<Range, 9> s_oDoubleWidth{{{0x1100, 0x115F},
                                               {0x2E80, 0x303E},
                                               {0x3041, 0xA4CF},
                                               {0xAC00, 0xD7A3},
                                               {0xF900, 0xFAFF},
                                               {0xFE30, 0xFE6F},
                                               {0xFF00, 0xFF60},
                                               {0x1F300, 0x1FAFF},
                                               {0x20000, 0x3FFFD}}};

template<std::size_t Size>
bool isIn(const std::array<Range, Size>& a_oRanges, char32_t a_uiCharacter)
{
    return std::any_of(a_oRanges.begin(),
                       a_oRanges.end(),
                       [&](const Range& a_oRange)
                       { return a_uiCharacter >= a_oRange.m_uiFirst && a_uiCharacter <= a_oRange.m_uiLast; });
}

char32_t decode(std::string_view a_strSequence)
{
    constexpr std::array<unsigned, 5> oPayload{0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t uiCharacter = static_cast<unsigned char>(a_strSequence.front()) & oPayload.at(a_strSequence.size());
    for (const char cByte : a_strSequence.substr(1))
    {
        uiCharacter = (uiCharacter << 6U) | (static_cast<unsigned char>(cByte) & 0x3FU);
    }
    return uiCharacter;
}

/// Removes one character, or one invalid byte, and returns its width.
std::size_t takeWidth(std::string_view& a_strText)
{
    const std::size_t uiLength = platform::getSequenceLength(a_strText);
    const char32_t uiCharacter = uiLength == 0 ? U'?' : decode(a_strText.substr(0, uiLength));
    a_strText.remove_prefix(std::max<std::size_t>(uiLength, 1));
    if (isIn(s_oZeroWidth, uiCharacter))
    {
        return 0;
    }
    return isIn(s_oDoubleWidth, uiCharacter) ? 2 : 1;
}

} // namespace

std::size_t displayWidth(std::string_view a_strText)
{
    std::size_t uiWidth = 0;
    while (!a_strText.empty())
    {
        uiWidth += takeWidth(a_strText);
    }
    return uiWidth;
}

std::string cutToWidth(std::string_view a_strText, std::size_t a_uiWidth)
{
    std::string_view strRest = a_strText;
    std::size_t uiFitting = 0; // bytes before the mark, if the text has to be cut
    for (std::size_t uiWidth = 0; !strRest.empty();)
    {
        uiWidth += takeWidth(strRest);
        if (uiWidth > a_uiWidth)
        {
            return std::string(a_strText.substr(0, uiFitting)) + "\u2026";
        }
        uiFitting = uiWidth < a_uiWidth ? a_strText.size() - strRest.size() : uiFitting;
    }
    return std::string(a_strText);
}

std::string wrapWords(std::string_view a_strText, std::size_t a_uiWidth, std::size_t a_uiIndent)
{
    std::string strResult;
    std::size_t uiUsed = 0; // columns of the last line
    while (!a_strText.empty())
    {
        const std::string_view strWord = a_strText.substr(0, a_strText.find(' '));
        const std::size_t uiWord = displayWidth(strWord);
        if (!strResult.empty())
        {
            const bool bBreak = a_uiWidth > 0 && uiUsed + 1 + uiWord > a_uiWidth;
            strResult += bBreak ? "\n" + std::string(a_uiIndent, ' ') : " ";
            uiUsed = bBreak ? a_uiIndent : uiUsed + 1;
        }
        strResult += strWord;
        uiUsed += uiWord;
        a_strText.remove_prefix(std::min(strWord.size() + 1, a_strText.size()));
    }
    return strResult;
}

std::string orNone(const std::string& a_strText)
{
    return a_strText.empty() ? "none" : a_strText;
}

} // namespace cfgctl
