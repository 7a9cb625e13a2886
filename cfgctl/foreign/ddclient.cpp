#include "cfgctl/foreign/scanner.h"

namespace cfgctl
{

namespace
{

constexpr std::string_view s_strEndsValue = " \t\r\n,#\\";
constexpr std::string_view s_strEndsName = " \t\r\n,#\\=";

/// A line, continued ones joined.
struct Entry
{
    unsigned m_uiLine = 0;
    Settings m_oSettings; ///< on top of the general ones
    std::vector<std::string> m_oHosts;
    unsigned m_uiSignIn = 0; ///< how many words followed the hosts: user, password
};

bool isContinued(const Scanner& a_oScanner)
{
    return a_oScanner.isAhead("\\\n") || a_oScanner.isAhead("\\\r\n");
}

/// Skips what separates words, line ends between continued lines included. Returns whether a comma was among it.
bool skipSeparators(Scanner& a_oScanner)
{
    bool bComma = false;
    while (a_oScanner.isNext(" \t\r,") || isContinued(a_oScanner))
    {
        bComma = bComma || a_oScanner.isNext(",");
        if (!a_oScanner.takeIf("\\\n") && !a_oScanner.takeIf("\\\r\n"))
        {
            static_cast<void>(a_oScanner.takeOne());
        }
    }
    return bComma;
}

/// A word or value. A backslash protects what would end it, and stands for itself elsewhere.
std::string takeText(Scanner& a_oScanner, std::string_view a_strEnds)
{
    std::string strText = a_oScanner.takeWord(a_strEnds, true);
    while (a_oScanner.isNext("\\") && !isContinued(a_oScanner))
    {
        const std::string strBackslash = a_oScanner.takeOne();
        strText += a_oScanner.isNext("# ,\\'\"") ? a_oScanner.takeOne() : strBackslash;
        strText += a_oScanner.takeWord(a_strEnds, true);
    }
    if (a_oScanner.isNext("#"))
    {
        a_oScanner.fail("'#' within a word: put the value in quotes");
    }
    return strText;
}

/// A bare word: hosts are separated by commas, user and password follow without one.
void addWord(Entry& a_oEntry, const Scanner& a_oScanner, bool a_bComma, const std::string& a_strWord)
{
    if (a_oEntry.m_oHosts.empty() || (a_bComma && a_oEntry.m_uiSignIn == 0))
    {
        a_oEntry.m_oHosts.push_back(a_strWord);
        return;
    }
    if (a_oEntry.m_uiSignIn == 2 || a_oEntry.m_oHosts.size() > g_uiForeignAccounts)
    {
        a_oScanner.fail("too many words");
    }
    a_oEntry.m_oSettings.set(a_oScanner, a_oEntry.m_uiSignIn == 0 ? "login" : "password", a_strWord);
    ++a_oEntry.m_uiSignIn;
}

Entry takeEntry(Scanner& a_oScanner)
{
    Entry oEntry;
    oEntry.m_uiLine = a_oScanner.getLine();
    bool bComma = skipSeparators(a_oScanner);
    while (!a_oScanner.atEnd() && !a_oScanner.isNext("#\n"))
    {
        const std::string strWord = takeText(a_oScanner, s_strEndsName);
        if (a_oScanner.takeIf("="))
        {
            oEntry.m_oSettings.set(a_oScanner, strWord, takeText(a_oScanner, s_strEndsValue));
        }
        else
        {
            addWord(oEntry, a_oScanner, bComma, strWord);
        }
        bComma = skipSeparators(a_oScanner);
    }
    static_cast<void>(a_oScanner.takeUntil("\n"));
    a_oScanner.takeIf("\n");
    return oEntry;
}

/// The protocol of most providers, as its server and path are named.
void takeDyndns2(const Settings& a_oSettings, ForeignAccount& a_oAccount)
{
    const std::string strServer = a_oSettings.has("server") ? a_oSettings.get("server") : "members.dyndns.org";
    const std::string strScript = a_oSettings.has("script") ? a_oSettings.get("script") : "/nic/update";
    const bool bScheme = strServer.find("://") != std::string::npos;
    const std::string strScheme = a_oSettings.isOn("ssl", true) ? "https://" : "http://";
    a_oAccount.m_strService = bScheme ? strServer.substr(strServer.find("://") + 3) : strServer;
    a_oAccount.m_strUrl = (bScheme ? "" : strScheme) + strServer + strScript + "?hostname=<domain>&myip=<ipaddr>";
    a_oAccount.m_strExpect = "good";
    a_oAccount.m_strUnchanged = "nochg";
}

bool isUsed(const Settings& a_oSettings, const char* a_pName)
{
    const std::string strHow = a_oSettings.get(a_pName);
    return !strHow.empty() && strHow != "no" && strHow != "disabled";
}

std::string findInterface(const Settings& a_oSettings)
{
    if (a_oSettings.get("usev4") == "ifv4")
    {
        return a_oSettings.get("ifv4");
    }
    const bool bInterface = a_oSettings.get("use") == "if" || a_oSettings.get("usev4") == "if";
    return bInterface ? a_oSettings.get("if") : std::string();
}

ForeignAccount makeAccount(const Settings& a_oSettings, const std::string& a_strHost, unsigned a_uiLine)
{
    ForeignAccount oAccount;
    oAccount.m_uiLine = a_uiLine;
    oAccount.m_strHost = a_strHost;
    oAccount.m_strUser = a_oSettings.get("login");
    oAccount.m_strPassword = a_oSettings.get("password");
    oAccount.m_strInterface = findInterface(a_oSettings);
    oAccount.m_bIPv6 = isUsed(a_oSettings, "usev6");
    oAccount.m_bIPv4 = isUsed(a_oSettings, "use") || isUsed(a_oSettings, "usev4") || !oAccount.m_bIPv6;
    const std::string strProtocol = a_oSettings.get("protocol");
    if (strProtocol.empty() || strProtocol == "dyndns2")
    {
        takeDyndns2(a_oSettings, oAccount);
    }
    else
    {
        oAccount.m_strService = strProtocol;
    }
    if (a_oSettings.has("login_env") || a_oSettings.has("password_env"))
    {
        oAccount.m_strObstacle = "user name or password come from that client's environment";
    }
    return oAccount;
}

} // namespace

ClientFile parseDdclient(std::string_view a_strBytes)
{
    ClientFile oFile;
    Scanner oScanner(a_strBytes);
    Settings oGeneral; // of lines without a host, for what follows
    while (!oScanner.atEnd())
    {
        const Entry oEntry = takeEntry(oScanner);
        if (oEntry.m_oHosts.empty())
        {
            oGeneral.add(oScanner, oEntry.m_oSettings);
            continue;
        }
        Settings oSettings = oGeneral;
        oSettings.add(oScanner, oEntry.m_oSettings);
        for (const std::string& strHost : oEntry.m_oHosts)
        {
            addAccount(oFile, oScanner, makeAccount(oSettings, strHost, oEntry.m_uiLine));
        }
    }
    return oFile;
}

} // namespace cfgctl
