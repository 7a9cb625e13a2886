#include "cfgctl/foreign/scanner.h"
#include "vadro/string/replace.h"

namespace cfgctl
{

namespace
{

using vadro::string::replaceAllOccurrences;

/// A word, in which a backslash protects the next character: a quote in a value is written '\''.
std::string takeText(Scanner& a_oScanner)
{
    constexpr std::string_view strEnds = " \t\r\n\\";
    std::string strText = a_oScanner.takeWord(strEnds, true);
    while (a_oScanner.takeIf("\\"))
    {
        strText += a_oScanner.isNext("\n") ? std::string() : a_oScanner.takeOne();
        strText += a_oScanner.takeWord(strEnds, true);
    }
    return strText;
}

/// The words of one line.
std::vector<std::string> takeLine(Scanner& a_oScanner)
{
    std::vector<std::string> oWords;
    a_oScanner.skip(g_strBlanks);
    while (!a_oScanner.atEnd() && !a_oScanner.isNext("#\n"))
    {
        oWords.push_back(takeText(a_oScanner));
        a_oScanner.skip(g_strBlanks);
    }
    static_cast<void>(a_oScanner.takeUntil("\n"));
    return oWords;
}

/// Whether user name and password stand in front of the server, for Basic authentication; they are taken out.
bool takeSignIn(std::string& a_strUrl)
{
    const std::size_t uiScheme = a_strUrl.find("://");
    const std::size_t uiStart = uiScheme == std::string::npos ? 0 : uiScheme + 3;
    for (const char* pSignIn : {"[USERNAME]:[PASSWORD]@", "[DOMAIN]:[PASSWORD]@"})
    {
        if (a_strUrl.compare(uiStart, std::string(pSignIn).size(), pSignIn) == 0)
        {
            a_strUrl.erase(uiStart, std::string(pSignIn).size());
            return true;
        }
    }
    return false;
}

/// The template of an update_url. The user name counts only where the URL uses it.
void takeUrl(const Settings& a_oSettings, ForeignAccount& a_oAccount)
{
    std::string strUrl = a_oSettings.get("update_url");
    const bool bHostSignsIn = strUrl.find("[DOMAIN]:[PASSWORD]@") != std::string::npos;
    const bool bBasic = takeSignIn(strUrl);
    if (!bBasic && strUrl.find("[USERNAME]") == std::string::npos)
    {
        a_oAccount.m_strUser.clear();
    }
    a_oAccount.m_strUser = bHostSignsIn ? a_oAccount.m_strHost : a_oAccount.m_strUser;
    strUrl = replaceAllOccurrences(strUrl, "[PARAMENC]", a_oSettings.get("param_enc"));
    strUrl = replaceAllOccurrences(strUrl, "[PARAMOPT]", a_oSettings.get("param_opt"));
    strUrl = replaceAllOccurrences(strUrl, "[USERNAME]", "<username>");
    strUrl = replaceAllOccurrences(strUrl, "[PASSWORD]", "<password>");
    strUrl = replaceAllOccurrences(strUrl, "[DOMAIN]", "<domain>");
    strUrl = replaceAllOccurrences(strUrl, "[IP]", a_oAccount.m_bIPv6 ? "<ipaddr6>" : "<ipaddr>");
    if (a_oSettings.isOn("use_https", false) && strUrl.compare(0, 7, "http://") == 0)
    {
        strUrl.insert(4, "s");
    }
    a_oAccount.m_strUrl = strUrl;
}

ForeignAccount makeAccount(const Settings& a_oSettings, unsigned a_uiLine)
{
    ForeignAccount oAccount;
    oAccount.m_uiLine = a_uiLine;
    oAccount.m_strHost = a_oSettings.has("domain") ? a_oSettings.get("domain") : a_oSettings.get("lookup_host");
    oAccount.m_strService = a_oSettings.get("service_name");
    oAccount.m_strUser = a_oSettings.get("username");
    oAccount.m_strPassword = a_oSettings.get("password");
    oAccount.m_bEnabled = a_oSettings.isOn("enabled", false);
    oAccount.m_bIPv6 = a_oSettings.isOn("use_ipv6", false);
    oAccount.m_bIPv4 = !oAccount.m_bIPv6;
    // 'interface' and 'ip_network' name networks of that system, not interfaces of the kernel
    oAccount.m_strInterface =
        a_oSettings.get("ip_source") == "interface" ? a_oSettings.get("ip_interface") : std::string();
    if (!a_oSettings.get("update_url").empty())
    {
        oAccount.m_strService.clear(); // without effect there as well
        takeUrl(a_oSettings, oAccount);
    }
    else if (!a_oSettings.get("update_script").empty())
    {
        oAccount.m_strObstacle = "a script of that client sends the update";
    }
    return oAccount;
}

} // namespace

ClientFile parseOpenWrt(std::string_view a_strBytes)
{
    ClientFile oFile;
    Scanner oScanner(a_strBytes);
    Settings oSettings;
    unsigned uiSection = 0; // the line of a section 'service'; 0: outside of one
    const auto finish = [&]
    {
        if (uiSection != 0)
        {
            addAccount(oFile, oScanner, makeAccount(oSettings, uiSection));
        }
        oSettings = {};
    };
    while (!oScanner.atEnd())
    {
        const unsigned uiLine = oScanner.getLine();
        const std::vector<std::string> oWords = takeLine(oScanner);
        if (oWords.size() >= 2 && oWords[0] == "config")
        {
            finish();
            uiSection = oWords[1] == "service" ? uiLine : 0;
        }
        else if (oWords.size() == 3 && (oWords[0] == "option" || oWords[0] == "list"))
        {
            oSettings.set(oScanner, oWords[1], oWords[2]);
        }
        else if (!oWords.empty() && oWords[0] != "package")
        {
            oScanner.fail("neither 'config TYPE', 'option NAME VALUE' nor 'list NAME VALUE'");
        }
        oScanner.skip("\n");
    }
    finish();
    return oFile;
}

} // namespace cfgctl
