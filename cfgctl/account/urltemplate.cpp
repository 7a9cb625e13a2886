#include "cfgctl/account/urltemplate.h"

#include "actions/updateurl.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "vadro/string/replace.h"

#include <algorithm>
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

bool isEncodedByte(std::string_view a_strUrl, std::size_t a_uiAt)
{
    return a_strUrl[a_uiAt] == '%' && a_uiAt + 2 < a_strUrl.size() && isIn(a_strUrl[a_uiAt + 1], s_strHex) &&
           isIn(a_strUrl[a_uiAt + 2], s_strHex);
}

std::string findCharacterFault(std::string_view a_strUrl)
{
    for (std::size_t uiAt = 0; uiAt < a_strUrl.size(); ++uiAt)
    {
        const char cCharacter = a_strUrl[uiAt];
        const bool bEncoded = isEncodedByte(a_strUrl, uiAt);
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
        const std::string strAllowed = join(a_oAllowed, " ");
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

std::optional<std::map<std::string, std::string>>
matchTemplate(const std::string& a_strTemplate, const std::string& a_strUrl, const std::vector<std::string>& a_oNames)
{
    std::map<std::string, std::string> oParts;
    std::size_t uiUrl = 0;
    for (std::size_t uiAt = 0; uiAt < a_strTemplate.size();)
    {
        const auto isHere = [&](const std::string& a_strName)
        { return a_strTemplate.compare(uiAt, a_strName.size(), a_strName) == 0; };
        const auto itName = std::find_if(a_oNames.begin(), a_oNames.end(), isHere);
        if (itName == a_oNames.end())
        {
            if (uiUrl >= a_strUrl.size() || a_strUrl[uiUrl++] != a_strTemplate[uiAt++])
            {
                return std::nullopt;
            }
            continue;
        }
        const std::size_t uiEnd = std::min(a_strUrl.find_first_of("/?&;#<", uiUrl), a_strUrl.size());
        oParts[*itName] = a_strUrl.substr(uiUrl, uiEnd - uiUrl);
        uiUrl = uiEnd;
        uiAt += itName->size();
    }
    return uiUrl == a_strUrl.size() ? std::optional(oParts) : std::nullopt;
}

std::string percentDecode(std::string_view a_strText)
{
    std::string strResult;
    for (std::size_t uiAt = 0; uiAt < a_strText.size(); ++uiAt)
    {
        if (isEncodedByte(a_strText, uiAt))
        {
            strResult += static_cast<char>(std::stoi(std::string(a_strText.substr(uiAt + 1, 2)), nullptr, 16));
            uiAt += 2;
            continue;
        }
        strResult += a_strText[uiAt];
    }
    return strResult;
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
