#include "cfgctl/account/urltemplate.h"

#include "actions/updateurl.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "vadro/string/replace.h"

#include <cctype>

namespace cfgctl
{

namespace
{

constexpr std::string_view s_strUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
constexpr std::string_view s_strReserved = ":/?[]@!$&'()*+,;=";
constexpr std::string_view s_strHex = "0123456789ABCDEFabcdef";

bool isIn(char a_cCharacter, std::string_view a_strSet)
{
    return a_strSet.find(a_cCharacter) != std::string_view::npos;
}

std::size_t afterScheme(std::string_view a_strUrl)
{
    for (const std::string_view strScheme : {"https://", "http://"})
    {
        if (a_strUrl.substr(0, strScheme.size()) == strScheme)
        {
            return strScheme.size();
        }
    }
    return 0;
}

std::string describeCharacter(char a_cCharacter)
{
    if (std::isgraph(static_cast<unsigned char>(a_cCharacter)) != 0)
    {
        return std::string("the character '") + a_cCharacter + "'";
    }
    // escape() writes \xNN
    return a_cCharacter == ' ' ? "a blank" : "the byte 0x" + platform::escape({&a_cCharacter, 1}).substr(2);
}

std::string findCharacterFault(std::string_view a_strUrl)
{
    for (std::size_t uiAt = 0; uiAt < a_strUrl.size(); ++uiAt)
    {
        const char cCharacter = a_strUrl[uiAt];
        const bool bEncoded = cCharacter == '%' && uiAt + 2 < a_strUrl.size() && isIn(a_strUrl[uiAt + 1], s_strHex) &&
                              isIn(a_strUrl[uiAt + 2], s_strHex);
        if (cCharacter == '%' && !bEncoded)
        {
            return "it contains a '%' without two hexadecimal digits after it";
        }
        if (cCharacter == '#')
        {
            return "it contains a '#', and nothing after that is sent";
        }
        if (!bEncoded && !isIn(cCharacter, s_strUnreserved) && !isIn(cCharacter, s_strReserved))
        {
            return "it contains " + describeCharacter(cCharacter) + ", which must be percent-encoded";
        }
    }
    return {};
}

/// A text in angle brackets that is not one of the allowed ones.
std::string findUnknownPlaceholder(const std::string& a_strUrl)
{
    const std::size_t uiStart = a_strUrl.find('<');
    const std::size_t uiEnd = a_strUrl.find('>', uiStart == std::string::npos ? 0 : uiStart);
    const bool bFound = uiStart != std::string::npos && uiEnd != std::string::npos;
    const std::string strName = bFound ? a_strUrl.substr(uiStart + 1, uiEnd - uiStart - 1) : std::string();
    const bool bName =
        !strName.empty() && strName.size() < 32 && strName.find_first_not_of(s_strUnreserved) == std::string::npos;
    return bName ? "<" + strName + ">" : std::string();
}

} // namespace

std::vector<std::string> getPlaceholders()
{
    return {quorvad::g_apPlaceholders.begin(), quorvad::g_apPlaceholders.end()};
}

bool hasPlaceholder(const std::string& a_strTemplate, std::string_view a_strPlaceholder)
{
    return a_strTemplate.find(a_strPlaceholder) != std::string::npos;
}

std::string findUrlFault(const std::string& a_strTemplate, const std::vector<std::string>& a_oAllowed)
{
    if (afterScheme(a_strTemplate) == 0)
    {
        return "it does not begin with https://";
    }
    std::string strUrl = a_strTemplate;
    for (const std::string& strPlaceholder : a_oAllowed)
    {
        strUrl = vadro::string::replaceAllOccurrences(strUrl, strPlaceholder, "x");
    }
    const std::string strUnknown = findUnknownPlaceholder(strUrl);
    if (!strUnknown.empty())
    {
        const std::string strAllowed = join(a_oAllowed, " ", [](const std::string& a_strText) { return a_strText; });
        return "unknown placeholder " + strUnknown + (strAllowed.empty() ? "" : "; known ones: " + strAllowed);
    }
    const std::string strHost = urlHost(a_strTemplate);
    const bool bHost = !strHost.empty() && strHost.find_first_not_of(s_strUnreserved) == std::string::npos;
    return bHost ? findCharacterFault(strUrl) : "it names no server after '://'";
}

std::string urlBase(const std::string& a_strUrl)
{
    return a_strUrl.substr(0, a_strUrl.find('?'));
}

std::string urlHost(const std::string& a_strUrl)
{
    const std::size_t uiStart = afterScheme(a_strUrl);
    const std::string strAuthority = a_strUrl.substr(uiStart, a_strUrl.find_first_of("/?#", uiStart) - uiStart);
    const std::size_t uiAt = strAuthority.rfind('@');
    const std::string strHost = uiAt == std::string::npos ? strAuthority : strAuthority.substr(uiAt + 1);
    return strHost.substr(0, strHost.find(':'));
}

std::string percentEncode(std::string_view a_strText)
{
    std::string strResult;
    for (const char cCharacter : a_strText)
    {
        if (isIn(cCharacter, s_strUnreserved))
        {
            strResult += cCharacter;
            continue;
        }
        const auto uiByte = static_cast<unsigned char>(cCharacter);
        strResult += {'%', s_strHex[uiByte >> 4U], s_strHex[uiByte & 15U]};
    }
    return strResult;
}

} // namespace cfgctl
