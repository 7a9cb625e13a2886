#include "platform/base/escape.h"

#include <algorithm>

namespace platform
{

namespace
{

unsigned byteAt(std::string_view a_strText, std::size_t a_uiIndex)
{
    return static_cast<unsigned char>(a_strText[a_uiIndex]);
}

std::size_t getAnnouncedLength(unsigned a_uiFirst)
{
    if (a_uiFirst < 0x80)
    {
        return 1;
    }
    if (a_uiFirst >= 0xc2 && a_uiFirst <= 0xdf) // 0xc0 and 0xc1 could only start overlong forms
    {
        return 2;
    }
    if (a_uiFirst >= 0xe0 && a_uiFirst <= 0xef)
    {
        return 3;
    }
    return a_uiFirst >= 0xf0 && a_uiFirst <= 0xf4 ? 4 : 0;
}

// The second byte rules out what the first can't: overlong forms, surrogates, and what lies beyond U+10FFFF.
bool isSecondInRange(unsigned a_uiFirst, unsigned a_uiSecond)
{
    const unsigned uiLowest = a_uiFirst == 0xe0 ? 0xa0U : a_uiFirst == 0xf0 ? 0x90U : 0x80U;
    const unsigned uiHighest = a_uiFirst == 0xed ? 0x9fU : a_uiFirst == 0xf4 ? 0x8fU : 0xbfU;
    return a_uiSecond >= uiLowest && a_uiSecond <= uiHighest;
}

bool isPlain(std::string_view a_strCharacter)
{
    const unsigned uiFirst = byteAt(a_strCharacter, 0);
    if (a_strCharacter.size() == 1)
    {
        return uiFirst >= 0x20 && uiFirst < 0x7f && uiFirst != '\\';
    }
    return uiFirst != 0xc2 || byteAt(a_strCharacter, 1) >= 0xa0; // U+0080 to U+009F steer terminals
}

std::string toHexadecimal(std::string_view a_strBytes)
{
    static constexpr char s_acDigits[] = "0123456789abcdef";
    std::string strResult;
    for (std::size_t uiIndex = 0; uiIndex < a_strBytes.size(); ++uiIndex)
    {
        const unsigned uiByte = byteAt(a_strBytes, uiIndex);
        strResult.append("\\x").append(1, s_acDigits[uiByte >> 4]).append(1, s_acDigits[uiByte & 0xfU]);
    }
    return strResult;
}

} // namespace

std::size_t getSequenceLength(std::string_view a_strText) noexcept
{
    if (a_strText.empty())
    {
        return 0;
    }
    const unsigned uiFirst = byteAt(a_strText, 0);
    const std::size_t uiLength = getAnnouncedLength(uiFirst);
    if (uiLength > a_strText.size() || (uiLength > 1 && !isSecondInRange(uiFirst, byteAt(a_strText, 1))))
    {
        return 0;
    }
    for (std::size_t uiIndex = 2; uiIndex < uiLength; ++uiIndex)
    {
        if ((byteAt(a_strText, uiIndex) & 0xc0U) != 0x80)
        {
            return 0;
        }
    }
    return uiLength;
}

bool isUtf8(std::string_view a_strText) noexcept
{
    while (const std::size_t uiLength = getSequenceLength(a_strText))
    {
        a_strText.remove_prefix(uiLength);
    }
    return a_strText.empty();
}

std::string escape(std::string_view a_strText, std::size_t a_uiLimit)
{
    std::string strResult;
    strResult.reserve(std::min(a_strText.size(), a_uiLimit));
    for (std::string_view strRest = a_strText; !strRest.empty();)
    {
        const std::size_t uiLength = getSequenceLength(strRest);
        const std::string_view strCharacter = strRest.substr(0, std::max<std::size_t>(uiLength, 1));
        const bool bPlain = uiLength > 0 && isPlain(strCharacter);
        if (strResult.size() + strCharacter.size() * (bPlain ? 1 : 4) > a_uiLimit)
        {
            return strResult.append("...[cut, ").append(std::to_string(a_strText.size())).append(" bytes]");
        }
        bPlain ? strResult.append(strCharacter) : strResult.append(toHexadecimal(strCharacter));
        strRest.remove_prefix(strCharacter.size());
    }
    return strResult;
}

} // namespace platform
