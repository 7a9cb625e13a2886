#include "cfgctl/foreign/clientfile.h"

#include "cfgctl/errors.h"
#include "cfgctl/foreign/scanner.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace cfgctl
{

namespace
{

using Parse = ClientFile(std::string_view);
constexpr std::array<Parse*, 3> s_apParsers{parseInadyn, parseDdclient, parseOpenWrt}; // in the order of Format

bool isRefused(char a_cCharacter)
{
    const auto uiByte = static_cast<unsigned char>(a_cCharacter);
    return std::iscntrl(uiByte) != 0 && uiByte != '\t' && uiByte != '\r';
}

void checkLine(std::string_view a_strLine, std::size_t a_uiNumber)
{
    const std::string strLine = "line " + std::to_string(a_uiNumber) + ": ";
    const bool bControl = std::any_of(a_strLine.begin(), a_strLine.end(), isRefused) ||
                          a_strLine.find('\r') < a_strLine.size() - 1; // one before the line feed is fine
    require(!bControl, strLine + "a control character");
    require(platform::isUtf8(a_strLine), strLine + "not UTF-8: convert the file with iconv");
}

bool beginsWith(std::string_view a_strLine, const char* a_pWord)
{
    Scanner oScanner(a_strLine);
    oScanner.skip(g_strBlanks);
    return oScanner.takeIf(a_pWord) && oScanner.isNext(g_strBlanks);
}

/// The client that reads such lines; nothing for one that others might have as well, such as a comment.
std::optional<Format> recogniseLine(std::string_view a_strLine)
{
    const bool bBlock = a_strLine.find('{') != std::string_view::npos || a_strLine.find('=') == std::string_view::npos;
    if (bBlock && (beginsWith(a_strLine, "provider") || beginsWith(a_strLine, "custom")))
    {
        return Format::Inadyn;
    }
    if (beginsWith(a_strLine, "config") || beginsWith(a_strLine, "package"))
    {
        return Format::OpenWrt;
    }
    const std::string_view strCode = a_strLine.substr(0, a_strLine.find('#'));
    for (const char* pName : {"protocol=", "server=", "login=", "use=", "usev4=", "usev6="})
    {
        if (strCode.find(pName) != std::string_view::npos)
        {
            return Format::Ddclient;
        }
    }
    return {};
}

/// Checks all lines. Returns the format that the first telling one shows.
std::optional<Format> inspect(std::string_view a_strBytes)
{
    std::optional<Format> eFormat;
    for (std::size_t uiNumber = 1; !a_strBytes.empty(); ++uiNumber)
    {
        const std::string_view strLine = a_strBytes.substr(0, a_strBytes.find('\n'));
        checkLine(strLine, uiNumber);
        eFormat = eFormat ? eFormat : recogniseLine(strLine);
        a_strBytes.remove_prefix(std::min(strLine.size() + 1, a_strBytes.size()));
    }
    return eFormat;
}

} // namespace

const std::vector<std::string>& getFormats()
{
    static const std::vector<std::string> s_oFormats{"inadyn", "ddclient", "openwrt"}; // in the order of Format
    return s_oFormats;
}

ClientFile parseClientFile(std::string_view a_strBytes, const std::string& a_strFormat)
{
    constexpr std::string_view strByteOrderMark = "\xef\xbb\xbf";
    if (a_strBytes.substr(0, strByteOrderMark.size()) == strByteOrderMark)
    {
        a_strBytes.remove_prefix(strByteOrderMark.size());
    }
    const std::vector<std::string>& oFormats = getFormats();
    const std::optional<Format> eRecognised = inspect(a_strBytes);
    auto uiFormat =
        static_cast<std::size_t>(std::find(oFormats.begin(), oFormats.end(), a_strFormat) - oFormats.begin());
    if (a_strFormat.empty() && eRecognised)
    {
        uiFormat = static_cast<std::size_t>(*eRecognised);
    }
    require(uiFormat < s_apParsers.size(),
            "not a configuration of inadyn, ddclient or OpenWrt's ddns; --format chooses one");
    return s_apParsers.at(uiFormat)(a_strBytes);
}

} // namespace cfgctl
