#include "cfgctl/foreign/scanner.h"
#include "vadro/string/replace.h"

namespace cfgctl
{

namespace
{

using vadro::string::replaceAllOccurrences;

constexpr std::string_view s_strWhite = " \t\r\n;";
constexpr std::string_view s_strEnds = " \t\r\n;,={}()#+";

/// A block 'provider NAME { ... }' or 'custom NAME { ... }'.
struct Block
{
    unsigned m_uiLine = 0;
    std::string m_strName;
    bool m_bCustom = false;
    Settings m_oSettings; ///< of a list, the first element
    std::vector<std::string> m_oHosts;
    std::vector<std::string> m_oAnswers;
};

/// Skips white space and comments.
void skip(Scanner& a_oScanner)
{
    a_oScanner.skip(s_strWhite);
    while (a_oScanner.isNext("#") || a_oScanner.isAhead("//") || a_oScanner.isAhead("/*"))
    {
        const bool bBlock = a_oScanner.takeIf("/*");
        static_cast<void>(a_oScanner.takeUntil(bBlock ? "*" : "\n"));
        while (bBlock && !a_oScanner.takeIf("*/"))
        {
            if (a_oScanner.takeOne().empty())
            {
                a_oScanner.fail("a comment is not closed");
            }
            static_cast<void>(a_oScanner.takeUntil("*"));
        }
        a_oScanner.skip(s_strWhite);
    }
}

void expect(Scanner& a_oScanner, const std::string& a_strText, const char* a_pPlace)
{
    skip(a_oScanner);
    if (!a_oScanner.takeIf(a_strText))
    {
        a_oScanner.fail("'" + a_strText + "' is missing " + a_pPlace);
    }
}

std::string takeWord(Scanner& a_oScanner)
{
    skip(a_oScanner);
    std::string strWord;
    const bool bExpanded = !a_oScanner.isNext("'");
    if (a_oScanner.isNext("'\""))
    {
        strWord = a_oScanner.takeQuoted(true);
    }
    else if (strWord = a_oScanner.takeUntil(s_strEnds); strWord.empty())
    {
        a_oScanner.fail("a word is missing");
    }
    if (bExpanded && strWord.find("${") != std::string::npos)
    {
        a_oScanner.fail("a value from that client's environment is not known here");
    }
    return strWord;
}

/// A word, or a list of them in braces.
std::vector<std::string> takeValue(Scanner& a_oScanner)
{
    skip(a_oScanner);
    if (!a_oScanner.takeIf("{"))
    {
        return {takeWord(a_oScanner)};
    }
    std::vector<std::string> oWords;
    skip(a_oScanner);
    while (!a_oScanner.takeIf("}"))
    {
        oWords.push_back(takeWord(a_oScanner));
        skip(a_oScanner);
        a_oScanner.takeIf(",");
        skip(a_oScanner);
        if (oWords.size() > g_uiForeignAccounts)
        {
            a_oScanner.fail("the list is too long");
        }
    }
    return oWords;
}

/// 'NAME = VALUE', behind the name.
std::vector<std::string> takeAssigned(Scanner& a_oScanner, const std::string& a_strName, Settings& a_oSettings)
{
    expect(a_oScanner, "=", "behind a name (only blocks 'provider NAME { ... }' are understood)");
    std::vector<std::string> oValue = takeValue(a_oScanner);
    a_oSettings.set(a_oScanner, a_strName, oValue.empty() ? std::string() : oValue.front());
    return oValue;
}

Block takeBlock(Scanner& a_oScanner, bool a_bCustom)
{
    Block oBlock;
    oBlock.m_bCustom = a_bCustom;
    oBlock.m_uiLine = a_oScanner.getLine();
    oBlock.m_strName = takeWord(a_oScanner);
    expect(a_oScanner, "{", "behind the provider's name");
    skip(a_oScanner);
    while (!a_oScanner.takeIf("}"))
    {
        const std::string strName = takeWord(a_oScanner);
        std::vector<std::string> oValue = takeAssigned(a_oScanner, strName, oBlock.m_oSettings);
        if (strName == "hostname" || strName == "alias")
        {
            oBlock.m_oHosts = std::move(oValue);
        }
        else if (strName == "ddns-response")
        {
            oBlock.m_oAnswers = std::move(oValue);
        }
        skip(a_oScanner);
    }
    return oBlock;
}

/// The URL of a custom provider. User name and password are sent by Basic authentication unless the path has them.
void takeUrl(const Block& a_oBlock, ForeignAccount& a_oAccount)
{
    const Settings& oSettings = a_oBlock.m_oSettings;
    std::string strPath = oSettings.get("ddns-path");
    const bool bPasswordOnly = strPath.find("%p") != std::string::npos && strPath.find("%u") == std::string::npos;
    a_oAccount.m_strUser = bPasswordOnly ? std::string() : a_oAccount.m_strUser;
    strPath = replaceAllOccurrences(strPath, "%u", "<username>");
    strPath = replaceAllOccurrences(strPath, "%p", "<password>");
    strPath = replaceAllOccurrences(strPath, "%h", "<domain>");
    strPath = replaceAllOccurrences(strPath, "%i", "<ipaddr>");
    const std::string strAppended = oSettings.isOn("append-myip", false) ? "<ipaddr>" : "";
    const std::string strSlash = strPath.compare(0, 1, "/") == 0 ? "" : "/";
    a_oAccount.m_strUrl = (oSettings.isOn("ssl", true) ? "https://" : "http://") + oSettings.get("ddns-server") +
                          strSlash + strPath + strAppended;
    if (!a_oBlock.m_oAnswers.empty())
    {
        a_oAccount.m_strExpect = a_oBlock.m_oAnswers.front();
    }
    if (a_oBlock.m_oAnswers.size() > 1)
    {
        a_oAccount.m_strUnchanged = a_oBlock.m_oAnswers[1];
    }
}

/// What the block has in common for all its hosts. The name is [default@]service[:number].
ForeignAccount makeAccount(const Block& a_oBlock, const Settings& a_oGeneral)
{
    const Settings& oSettings = a_oBlock.m_oSettings;
    ForeignAccount oAccount;
    oAccount.m_uiLine = a_oBlock.m_uiLine;
    oAccount.m_strUser = oSettings.get("username");
    oAccount.m_strPassword = oSettings.get("password");
    oAccount.m_strInterface = (oSettings.has("iface") ? oSettings : a_oGeneral).get("iface");
    if (a_oBlock.m_bCustom)
    {
        takeUrl(a_oBlock, oAccount);
        return oAccount;
    }
    const std::size_t uiEnd = a_oBlock.m_strName.find_last_not_of("0123456789");
    const bool bNumber = uiEnd != std::string::npos && a_oBlock.m_strName[uiEnd] == ':';
    oAccount.m_strService = bNumber ? a_oBlock.m_strName.substr(0, uiEnd) : a_oBlock.m_strName;
    oAccount.m_bIPv6 = oAccount.m_strService.find("ipv6") != std::string::npos;
    oAccount.m_bIPv4 = !oAccount.m_bIPv6;
    for (const std::string strPrefix : {"default@", "dyndns@"})
    {
        if (oAccount.m_strService.compare(0, strPrefix.size(), strPrefix) == 0)
        {
            oAccount.m_strService.erase(0, strPrefix.size());
        }
    }
    return oAccount;
}

void addBlock(ClientFile& a_oFile, const Scanner& a_oScanner, const Block& a_oBlock, const Settings& a_oGeneral)
{
    ForeignAccount oAccount = makeAccount(a_oBlock, a_oGeneral);
    for (const std::string& strHost : a_oBlock.m_oHosts)
    {
        oAccount.m_strHost = strHost;
        addAccount(a_oFile, a_oScanner, oAccount);
    }
    if (a_oBlock.m_oAnswers.size() > 2)
    {
        a_oFile.m_oNotes.push_back("line " + std::to_string(a_oBlock.m_uiLine) +
                                   ": only the first two texts of ddns-response are taken over, as those of a new and "
                                   "of an unchanged address");
    }
    if (a_oBlock.m_oHosts.empty())
    {
        addAccount(a_oFile, a_oScanner, oAccount);
    }
}

} // namespace

ClientFile parseInadyn(std::string_view a_strBytes)
{
    ClientFile oFile;
    Scanner oScanner(a_strBytes);
    Settings oGeneral;
    std::vector<Block> oBlocks;
    for (skip(oScanner); !oScanner.atEnd(); skip(oScanner))
    {
        const std::string strLine = "line " + std::to_string(oScanner.getLine()) + ": ";
        const std::string strWord = takeWord(oScanner);
        skip(oScanner);
        if (strWord == "provider" || strWord == "custom")
        {
            oBlocks.push_back(takeBlock(oScanner, strWord == "custom"));
            if (oBlocks.size() > g_uiForeignAccounts)
            {
                oScanner.fail("more than " + std::to_string(g_uiForeignAccounts) + " accounts");
            }
        }
        else if (oScanner.takeIf("("))
        {
            static_cast<void>(takeWord(oScanner));
            expect(oScanner, ")", "behind an argument");
            oFile.m_oNotes = {strLine + "other files are not read; import them as well"};
        }
        else
        {
            static_cast<void>(takeAssigned(oScanner, strWord, oGeneral));
        }
    }
    for (const Block& oBlock : oBlocks) // the general settings count wherever they stand
    {
        addBlock(oFile, oScanner, oBlock, oGeneral);
    }
    return oFile;
}

} // namespace cfgctl
