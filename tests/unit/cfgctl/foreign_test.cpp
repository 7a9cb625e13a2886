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
