#include "cfgctl/errors.h"
#include "cfgctl/foreign/takeover.h"
#include "platform/common/values.h"
#include "tests/unit/cfgctl/expect.h"
#include "tests/unit/support/folder.h"

#include <gmock/gmock.h>

using namespace cfgctl;
using platform::textOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

const Providers& shipped()
{
    static const Providers s_oProviders = parseProviders(contentOf(CFGCTL_SHIPPED_PROVIDERS));
    return s_oProviders;
}

/// The example of a client in the documentation.
std::string example(const std::string& a_strFormat)
{
    const std::string strPage = contentOf(CFGCTL_GETTING_STARTED);
    const std::size_t uiStart = strPage.find("\n```" + a_strFormat + "\n") + a_strFormat.size() + 5;
    return strPage.substr(uiStart, strPage.find("```\n", uiStart) - uiStart);
}

/// What becomes of each account: what its row holds, or why there is none.
std::vector<std::string> takeOver(const std::string& a_strFile, const std::string& a_strFormat = "")
{
    std::vector<std::string> oResults;
    for (const ForeignAccount& oAccount : parseClientFile(a_strFile, a_strFormat).m_oAccounts)
    {
        const Takeover oTakeover = planTakeover(shipped(), oAccount, "eth9");
        std::string strText = std::to_string(oTakeover.m_uiLine);
        for (const char* pColumn : {"Hostname", "ServerAddr", "AccountUserName", "Password", "Interface"})
        {
            strText += " " + textOf(oTakeover.m_oPlan.m_oRow, pColumn);
        }
        oResults.push_back(oTakeover.m_strReason.empty() ? strText : oTakeover.m_strReason);
    }
    return oResults;
}

const std::string s_strNoip =
    " https://dynupdate.no-ip.com/nic/update?hostname=<domain>&myip=<ipaddr> alice pass word ";
const std::string s_strDuck = " https://www.duckdns.org/update?domains=<domain>&token=<password>&ip=<ipaddr>  ";

} // namespace

TEST(ClientFile, ExamplesOfTheDocumentation)
{
    EXPECT_THAT(takeOver(example("inadyn")),
                ElementsAre("4 home.example.org" + s_strNoip + "ppp0",
                            "4 www.example.org" + s_strNoip + "ppp0",
                            "11 alice.duckdns.org" + s_strDuck + "01234567-89ab-cdef ppp0",
                            "17 cam.example.net https://dyn.example.net/update?host=<domain>&user=alice&key=<password>"
                            "&ip=<ipaddr>  pass%20word ppp0"));
    const std::string strZone = " https://dynamicdns.park-your-domain.com/update?host=";
    const std::string strRest = "&domain=example.com&password=<password>&ip=<ipaddr>  0123456789abcdef ppp0";
    EXPECT_THAT(takeOver(example("ddclient")),
                ElementsAre("4 home.example.org" + s_strNoip + "ppp0",
                            "4 www.example.org" + s_strNoip + "ppp0",
                            "9 example.com" + strZone + "@" + strRest,
                            "9 cam.example.com" + strZone + "cam" + strRest,
                            "13 cam.example.net https://dyn.example.net/nic/update?hostname=<domain>&myip=<ipaddr>"
                            " alice secret ppp0"));
    EXPECT_THAT(
        takeOver(example("openwrt")),
        ElementsAre("1 home.example.org" + s_strNoip + "pppoe-wan",
                    "10 cam.example.net https://dyn.example.net/update?host=<domain>&ip=<ipaddr> alice secret eth9",
                    HasSubstr("IPv6 address alone")));
}

TEST(ClientFile, WhatCannotBeTakenOverSaysWhy)
{
    const auto provider = [](const std::string& a_strName, const std::string& a_strUser, const std::string& a_strMore)
    { return "provider " + a_strName + " { username = '" + a_strUser + "' " + a_strMore + " }"; };
    const auto service = [](const std::string& a_strMore) {
        return "config service x\noption enabled 1\noption service_name no-ip.com\noption domain a.example\n" +
               a_strMore;
    };
    const std::string strHost = "hostname = a.example password = geheim";
    const std::vector<std::pair<std::string, const char*>> oCases{
        {provider("default@nix.example", "u", strHost), "unknown provider 'nix.example'"},
        {provider("'https://x/?k=geheim'", "u", strHost), "unknown provider: "},
        {provider("default@cloudflare.com", "u", strHost), "Cloudflare cannot be served: it wants a token in a header"},
        {provider("default@no-ip.com:2", "u", "hostname = a.example"), "no password"},
        {provider("default@no-ip.com", "", strHost), "needs a user name"},
        {provider("default@no-ip.com", "u", "password = geheim"), "the host is empty"},
        {provider("default@no-ip.com", "u", "password = geheim hostname = 'geheim '"), "the host may contain only"},
        {provider("ipv6tb@he.net", "u", strHost), "IPv6 address alone"},
        {provider("default@freedns.afraid.org", "u", strHost), "one key"},
        {provider("default@namecheap.com", "", strHost), "--zone"},
        {service("option username u\noption password geheim\noption enabled 0"), "disabled"},
        {service("option update_script /x\n"), "a script"},
        {"protocol=dyndns2, login=u, password_env=X a.example", "environment"},
        {"usev6=ifv6, ifv6=eth0, login=u, password=geheim a.example", "IPv6 address alone"},
        {"server=x.example/<geheim>, login=u, password=geheim a.example", "contains '<'"},
    };
    for (const auto& [strFile, pReason] : oCases)
    {
        EXPECT_THAT(takeOver(strFile),
                    ElementsAre(testing::AllOf(HasSubstr(pReason), testing::Not(HasSubstr("geheim")))))
            << strFile;
    }
}

TEST(ClientFile, KeyAndUserAreFoundWhereTheOtherClientKeepsThem)
{
    const std::string strDuck = "1 a.duckdns.org" + s_strDuck + "k-1 eth9";
    EXPECT_THAT(takeOver("config service x\noption enabled 1\noption service_name duckdns.org\n"
                         "option domain a.duckdns.org\noption username a\noption password k-1\n"),
                ElementsAre(strDuck));
    EXPECT_THAT(takeOver("\xef\xbb\xbfprotocol=duckdns,password=k-1 a.duckdns.org # comment"), ElementsAre(strDuck));
    EXPECT_THAT(
        takeOver("\nserver=dyn.dns.he.net,ssl=no \\\r\na.example login 'geheim # x'"),
        ElementsAre(
            "2 a.example https://dyn.dns.he.net/nic/update?hostname=<domain>&myip=<ipaddr> a.example geheim # x eth9"));
}

TEST(ClientFile, QuotesAndBackslashesAreThoseOfEachClient)
{
    const auto first = [](const std::string& a_strFile) { return parseClientFile(a_strFile, "").m_oAccounts.at(0); };
    EXPECT_EQ(first(R"(provider x { password = "a\"b\\c" hostname = h })").m_strPassword, R"(a"b\c)");
    EXPECT_EQ(first(R"(login=u, password="a\"b"c\ d,h.example)").m_strPassword, "a\"bc d");
    EXPECT_EQ(first(R"(config service x
        option password 'it'\''s "so"')")
                  .m_strPassword,
              R"(it's "so")");
}

TEST(ClientFile, HostileFilesAreRefusedWithTheLine)
{
    std::string strHosts = "provider x { hostname = {";
    for (std::size_t uiHost = 0; uiHost <= g_uiForeignAccounts; ++uiHost)
    {
        strHosts += " a,";
    }
    const std::vector<std::tuple<const char*, std::string, const char*>> oCases{
        {"", "just text", "not a configuration of"},
        {"", std::string("\n\0use=if", 9), "line 2: a control character"},
        {"", "# \x1b[2J\nuse=if", "line 1: a control character"},
        {"", "use=if\n\xff", "line 2: not UTF-8"},
        {"inadyn", "system default@x", "line 1: '=' is missing"},
        {"inadyn", "\nprovider x { hostname = 'geheim", "line 2: a quote is not closed"},
        {"inadyn", "provider x {", "line 1: a word is missing"},
        {"inadyn", "/* \n *", "line 2: a comment is not closed"},
        {"inadyn", "a = \"${HOME}\"", "environment"},
        {"inadyn", std::string(100000, '{'), "line 1: a word is missing"},
        {"inadyn", strHosts, "line 1: the list is too long"},
        {"ddclient", "a=#geheim", "line 1: '#' within a word"},
        {"ddclient", "a.example b c geheim", "line 1: too many words"},
        {"ddclient", "=geheim", "line 1: no name"},
        {"ddclient", "login=" + std::string(g_uiForeignText + 1, 'x'), "line 1: a value longer than"},
        {"openwrt", "config service\n\toption password geheim x", "line 2: neither"},
    };
    for (const auto& [pFormat, strFile, pReason] : oCases)
    {
        const std::string strReason =
            reasonOf<Failure>([&, &strText = strFile, pName = pFormat] { (void)parseClientFile(strText, pName); });
        EXPECT_THAT(strReason, testing::AllOf(HasSubstr(pReason), testing::Not(HasSubstr("geheim"))));
    }
}

TEST(ClientFile, WhatIsTakenOverInPartIsTold)
{
    const ClientFile oInadyn = parseClientFile("include(\"x\")\ncustom x { ddns-server = x.example ddns-path = /?%h "
                                               "ddns-response = {a, b, c} hostname = a.example }",
                                               "");
    EXPECT_THAT(oInadyn.m_oNotes,
                ElementsAre(HasSubstr("line 1: other files are not read"), HasSubstr("line 2: only the first two")));
    const auto notesOf = [](const std::string& a_strFile)
    { return planTakeover(shipped(), parseClientFile(a_strFile, "").m_oAccounts.at(0), "eth0").m_oPlan.m_oNotes; };
    EXPECT_THAT(notesOf("usev4=web, usev6=web, server=x.example, login=u, password=p a.example"),
                ElementsAre(HasSubstr("Only the IPv4 address")));
    EXPECT_THAT(
        notesOf("config service x\noption enabled 1\noption domain a.example\noption update_url http://x.example/[IP]"),
        ElementsAre(HasSubstr("HTTP status 200")));
}
