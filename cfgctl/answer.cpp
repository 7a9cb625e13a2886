#include "cfgctl/answer.h"

#include "actions/httpreply.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/secrets.h"
#include "cfgctl/text.h"
#include "config/schema.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>
#include <vector>

namespace cfgctl
{

namespace
{

namespace dbm = quorvad::dbm;

constexpr std::size_t s_uiPublicWidth = 100;
constexpr std::size_t s_uiLeastSecret = 4;   ///< anything shorter is found in any text
constexpr std::size_t s_uiLeastPathKey = 12; ///< most of a path is no secret, but a key in it is long

/// The parts of a URL that may be secrets: the user's part, values of the query, long parts of the path.
std::vector<std::string> keysOfUrl(const std::string& a_strUrl)
{
    std::vector<std::string> oKeys;
    const std::size_t uiScheme = a_strUrl.find("://");
    const std::size_t uiStart = uiScheme == std::string::npos ? 0 : uiScheme + 3;
    const std::size_t uiHost = a_strUrl.find(urlHost(a_strUrl), uiStart);
    for (std::size_t uiAt = uiStart; uiAt < a_strUrl.size();)
    {
        const std::size_t uiEnd = std::min(a_strUrl.find_first_of("/:@?&;=", uiAt), a_strUrl.size());
        const bool bName = a_strUrl.substr(uiEnd, 1) == "=";
        const bool bPath = uiAt > uiHost && uiAt < a_strUrl.find('?');
        if (uiAt != uiHost && !bName && uiEnd - uiAt >= (bPath ? s_uiLeastPathKey : s_uiLeastSecret))
        {
            oKeys.push_back(a_strUrl.substr(uiAt, uiEnd - uiAt));
        }
        uiAt = uiEnd + 1;
    }
    return oKeys;
}

std::vector<std::string> secretsOf(const korrin::ValueList& a_oAccount)
{
    const std::string strHost = textOf(a_oAccount, dbm::DynDns_Hostname);
    std::vector<std::string> oSecrets = keysOfUrl(textOf(a_oAccount, dbm::DynDns_ServerAddr));
    const auto isHost = [&](const std::string& a_strKey) { return strHost.find(a_strKey) != std::string::npos; };
    oSecrets.erase(std::remove_if(oSecrets.begin(), oSecrets.end(), isHost), oSecrets.end());
    oSecrets.push_back(textOf(a_oAccount, dbm::DynDns_Password));
    for (std::size_t uiAt = oSecrets.size(); uiAt-- > 0;) // in each form that an answer may repeat
    {
        oSecrets.push_back(percentDecode(oSecrets[uiAt]));
        oSecrets.push_back(percentEncode(oSecrets[uiAt]));
    }
    return oSecrets;
}

/// How much of the text at a place is the secret: all of it, or its beginning where the text was cut.
std::size_t secretAt(std::string_view a_strText, std::string_view a_strSecret)
{
    const std::size_t uiLength = std::min(a_strText.size(), a_strSecret.size());
    return uiLength >= s_uiLeastSecret && a_strText.substr(0, uiLength) == a_strSecret.substr(0, uiLength) ? uiLength
                                                                                                           : 0;
}

std::string hideIn(std::string_view a_strText, const std::vector<std::string>& a_oSecrets)
{
    std::string strResult;
    while (!a_strText.empty())
    {
        std::size_t uiSecret = 0;
        for (const std::string& strSecret : a_oSecrets)
        {
            uiSecret = std::max(uiSecret, secretAt(a_strText, strSecret));
        }
        strResult += uiSecret > 0 ? g_strHidden : a_strText.substr(0, 1);
        a_strText.remove_prefix(std::max<std::size_t>(uiSecret, 1));
    }
    return strResult;
}

/// Whether the text begins as a page of the Web does.
bool isPage(const std::string& a_strText)
{
    const std::size_t uiFirst = std::min(a_strText.find_first_not_of(" \t\r\n"), a_strText.size());
    const auto beginsWith = [&](std::string_view a_strTag)
    {
        return a_strText.size() - uiFirst >= a_strTag.size() &&
               std::equal(a_strTag.begin(),
                          a_strTag.end(),
                          a_strText.begin() + static_cast<std::ptrdiff_t>(uiFirst),
                          [](char a_cTag, unsigned char a_cText) { return a_cTag == std::tolower(a_cText); });
    };
    return beginsWith("<!doctype html") || beginsWith("<html");
}

/// What the provider sent, and of a page what a browser would show of it.
std::string textOfAnswer(const std::string& a_strStored)
{
    std::string strAnswer = quorvad::unescapeHtml(a_strStored);
    if (!isPage(strAnswer))
    {
        return strAnswer;
    }
    std::string strText;
    bool bTag = false;
    for (const char cCharacter : strAnswer)
    {
        bTag = bTag || cCharacter == '<';
        strText += bTag ? ' ' : cCharacter;
        bTag = bTag && cCharacter != '>';
    }
    return quorvad::unescapeHtml(strText);
}

/// The words of a text, one blank apart.
template<typename Change>
std::string joinWords(const std::string& a_strText, const Change& a_oChange)
{
    std::istringstream oText(a_strText);
    std::string strResult;
    for (std::string strWord; oText >> strWord;)
    {
        strResult += (strResult.empty() ? "" : " ") + a_oChange(strWord);
    }
    return strResult;
}

} // namespace

std::string readableAnswer(const std::string& a_strStored)
{
    return joinWords(textOfAnswer(a_strStored), [](const std::string& a_strWord) { return a_strWord; });
}

std::string publicAnswer(const std::string& a_strStored, const korrin::ValueList& a_oAccount)
{
    const std::string strHidden = hideIn(textOfAnswer(a_strStored), secretsOf(a_oAccount));
    const auto hideUrl = [](const std::string& a_strWord)
    { return a_strWord.find("://") == std::string::npos ? a_strWord : std::string(g_strHidden); };
    return cutToWidth(joinWords(strHidden, hideUrl), s_uiPublicWidth);
}

} // namespace cfgctl
