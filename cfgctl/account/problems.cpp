#include "cfgctl/account/problems.h"

#include "cfgctl/account/nameservers.h"
#include "cfgctl/account/reach.h"
#include "cfgctl/account/urltemplate.h"

#include <algorithm>
#include <ifaddrs.h>
#include <net/if.h>

namespace cfgctl
{

namespace
{

/// Why the transfer library sends nothing at all: another protocol, no server, a blank or control character.
bool isRefused(const std::string& a_strUrl)
{
    const bool bOdd = std::any_of(a_strUrl.begin(),
                                  a_strUrl.end(),
                                  [](char a_c) { return static_cast<unsigned char>(a_c) <= 0x20 || a_c == 0x7f; });
    return bOdd || a_strUrl.compare(0, 4, "http") != 0 || urlHost(a_strUrl).empty();
}

/// Collects them for one account.
class Finder
{
public:
    Finder(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
        : m_oAccount(a_oAccount), m_oSources(a_oSources), m_strInterface(text("Interface")),
          m_oWatch(findLast(a_oSources.m_oInterfaces, "Name", m_strInterface))
    {
    }

    std::vector<Problem> find(InterfaceState a_eState)
    {
        checkSettings();
        checkInterface(a_eState);
        checkNameservers();
        text("ServiceType") == "gnudip" ? checkGnudip() : checkUrl();
        std::stable_partition(
            m_oFound.begin(), m_oFound.end(), [](const Problem& a_oProblem) { return a_oProblem.m_bStops; });
        return m_oFound;
    }

private:
    [[nodiscard]] std::string text(const char* a_pColumn) const { return m_oAccount.getValue(a_pColumn).getText(); }
    [[nodiscard]] std::string setting(const std::string& a_strAssignment) const
    {
        return "cfgctl set DynDns Id=" + (text("Id").empty() ? std::string("ID") : text("Id")) + " " + a_strAssignment;
    }
    [[nodiscard]] std::string ipv6Address() const
    {
        return findLast(m_oSources.m_oIPv6, "Name", m_strInterface).getValue("Addr").getText();
    }
    void stop(const std::string& a_strWhat, const std::string& a_strNext, const std::string& a_strBrief)
    {
        m_oFound.push_back({true, a_strWhat, a_strNext, a_strBrief});
    }
    void warn(const std::string& a_strWhat, const std::string& a_strNext)
    {
        m_oFound.push_back({false, a_strWhat, a_strNext, {}});
    }

    void checkSettings()
    {
        if (m_oAccount.getValue("Enable").getInteger() == 0)
        {
            stop("The account is disabled", "cfgctl account enable " + text("Id"), "nothing: disabled");
        }
        const std::string strService = text("ServiceType");
        if (strService != "update-url" && strService != "gnudip")
        {
            stop("Its ServiceType '" + strService + "' means nothing to the daemon",
                 setting("ServiceType=update-url") + " (or gnudip)",
                 "nothing: unknown ServiceType");
        }
        if (m_oAccount.getValue("Retry").getInteger() <= 0)
        {
            stop("Its Retry is not above 0, so it is never tried", setting("Retry=5"), "nothing: Retry is 0");
        }
        if (m_strInterface.empty())
        {
            stop("It follows no interface", setting("Interface=NAME"), "nothing: no interface");
        }
    }

    void checkInterface(InterfaceState a_eState)
    {
        if (m_strInterface.empty())
        {
            return;
        }
        if (a_eState == InterfaceState::Missing)
        {
            stop("This machine has no interface '" + m_strInterface + "' now",
                 "'ip link' lists them; " + setting("Interface=NAME") + " names another one",
                 "waits for interface " + m_strInterface);
        }
        if (m_oWatch.empty())
        {
            stop("Nobody tells of interface '" + m_strInterface + "': it has no row in StatusNetifWatch",
                 "is netifwatch running, and does it watch " + m_strInterface + "?",
                 "waits for interface " + m_strInterface + " to be known: is netifwatch running?");
            return;
        }
        if (m_oWatch.getValue("IsUp").getInteger() == 0)
        {
            stop("Interface '" + m_strInterface + "' is down",
                 "it goes out once the interface is up",
                 "waits until " + m_strInterface + " is up");
        }
        else if (a_eState == InterfaceState::Down)
        {
            stop("The kernel says that interface '" + m_strInterface + "' is down or without carrier",
                 "bring it up; its row in StatusNetifWatch says something else: is netifwatch running?",
                 "waits until " + m_strInterface + " is running");
        }
    }

    void checkNameservers()
    {
        const std::string strFault =
            findNameserverFault(chooseNameservers(m_strInterface, m_oSources.m_oRelay, m_oSources.m_oServers));
        if (strFault.empty())
        {
            return;
        }
        const std::string strNext =
            "look at 'cfgctl show DNSClientServer' and 'cfgctl show DNSRelay'; one is added with "
            "'cfgctl add DNSClientServer Interface=" +
            m_strInterface + " IPAddress=ADDRESS'";
        if (strFault == "there is no DNS server" || text("ServiceType") == "gnudip")
        {
            stop("For interface '" + m_strInterface + "' " + strFault,
                 strNext,
                 "nothing: no usable DNS server for " + m_strInterface);
            return;
        }
        warn("For interface '" + m_strInterface + "' " + strFault + ", so the system's servers are asked", strNext);
    }

    void checkGnudip()
    {
        const std::string strUser = text("AccountUserName");
        const std::string strHost = text("Hostname");
        if (strHost.size() <= strUser.size() || strHost.compare(0, strUser.size(), strUser) != 0)
        {
            stop("Its Hostname must be the user name, one character and the GnuDIP domain",
                 setting("Hostname=USER.DOMAIN AccountUserName=USER"),
                 "nothing: host and user name don't fit");
        }
        if (text("ServerAddr").empty())
        {
            stop("It names no GnuDIP server", setting("ServerAddr=NAME"), "nothing: no server");
        }
        checkReach(m_oWatch.getValue("Addr").getText(), "IPv4");
    }

    /// A name that leads to such an address helps nobody outside.
    void checkReach(const std::string& a_strAddress, const std::string& a_strFamily)
    {
        const std::string strKind = nameUnreachable(a_strAddress);
        if (!strKind.empty())
        {
            warn("The " + a_strFamily + " address that it announces, " + a_strAddress + ", is " + strKind +
                     ": nobody outside reaches it",
                 "run the daemon on the outer router, or announce a public IPv6 address; more in getting-started.md");
        }
    }

    void checkUrl()
    {
        const std::string strUrl = text("ServerAddr");
        if (strUrl.compare(0, 8, "https://") != 0 && !strUrl.empty())
        {
            warn("Its URL is not https: user name and password can be read on the way", "use an https:// URL");
        }
        checkFilledUrl(strUrl);
        checkHoles(strUrl);
        if (hasPlaceholder(strUrl, "<ipaddr>"))
        {
            checkReach(m_oWatch.getValue("Addr").getText(), "IPv4");
        }
        if (hasPlaceholder(strUrl, "<ipaddr6>"))
        {
            checkReach(ipv6Address(), "IPv6");
        }
        checkSignIn(strUrl);
    }

    /// Filled in with what the daemon would fill in.
    void checkFilledUrl(const std::string& a_strUrl)
    {
        const bool bPlain = a_strUrl.find("://") == std::string::npos && !a_strUrl.empty();
        const std::string strUrl =
            fillIn((bPlain ? "http://" : "") + a_strUrl,
                   {{"<ipaddr>", "192.0.2.1"},
                    {"<ipaddr6>", "2001:db8::1"},
                    {"<domain>", text("Hostname")},
                    {"<username>", text("AccountUserName")},
                    {"<password>", text("Password")},
                    {"<serial>", findLast(m_oSources.m_oSerial, "Id", "1").getValue("serial_no").getText()}});
        const std::string strFault = findUrlFault(strUrl, {});
        const std::string strNext = "write what goes into the URL percent-encoded; 'cfgctl account add' and 'cfgctl "
                                    "account password' do that";
        if (isRefused(strUrl))
        {
            stop("Its update URL, once filled in, can't be used: " + strFault,
                 strNext,
                 "nothing: the update URL can't be used");
        }
        else if (!strFault.empty())
        {
            warn("Its update URL, once filled in, may not mean what it should: " + strFault, strNext);
        }
    }

    void checkHoles(const std::string& a_strUrl)
    {
        const std::string strFill = "; some providers then delete the record or take the sender's address";
        if (!m_oWatch.empty() && m_oWatch.getValue("Addr").getText().empty() && hasPlaceholder(a_strUrl, "<ipaddr>"))
        {
            warn("Interface '" + m_strInterface + "' has no IPv4 address, so <ipaddr> is filled with nothing" + strFill,
                 "wait for an address, or use a template without <ipaddr>");
        }
        if (hasPlaceholder(a_strUrl, "<ipaddr6>") && ipv6Address().empty())
        {
            warn("Interface '" + m_strInterface + "' has no IPv6 address, so <ipaddr6> is filled with nothing" +
                     strFill,
                 "use the template for IPv4 only (account add without --dual) until it has one");
        }
    }

    void checkSignIn(const std::string& a_strUrl)
    {
        const std::string strUser = text("AccountUserName");
        const bool bPassword = !text("Password").empty();
        const bool bInUrl = hasPlaceholder(a_strUrl, "<password>");
        if (strUser.find(':') != std::string::npos)
        {
            warn("Its user name has a ':' in it: the server takes what follows as password",
                 setting("AccountUserName=NAME"));
        }
        if (bPassword && !bInUrl && strUser.empty())
        {
            warn("Its password is sent nowhere: there is neither a user name nor <password> in the URL",
                 setting("AccountUserName=NAME"));
        }
        if (!bPassword && (bInUrl || !strUser.empty()))
        {
            warn("It has no password", "cfgctl account password " + text("Id"));
        }
        if (text("ExpectedResultSubString").find('\n') != std::string::npos)
        {
            warn("Its expected text has a line end in it, which no answer can hold",
                 setting("ExpectedResultSubString=TEXT"));
        }
    }

    const korrin::ValueList& m_oAccount;
    const StatusSources& m_oSources;
    const std::string m_strInterface;
    const korrin::ValueList& m_oWatch;
    std::vector<Problem> m_oFound;
};

} // namespace

std::vector<Problem>
findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, InterfaceState a_eState)
{
    return Finder(a_oAccount, a_oSources).find(a_eState);
}

InterfaceState readInterfaceState(const std::string& a_strInterface)
{
    ifaddrs* pList = nullptr;
    if (getifaddrs(&pList) != 0)
    {
        return InterfaceState::Unknown;
    }
    InterfaceState eState = InterfaceState::Missing;
    for (const ifaddrs* pEntry = pList; pEntry != nullptr; pEntry = pEntry->ifa_next)
    {
        if (pEntry->ifa_addr != nullptr && a_strInterface == pEntry->ifa_name)
        {
            constexpr unsigned uiWanted = IFF_UP | IFF_RUNNING;
            eState = (pEntry->ifa_flags & uiWanted) == uiWanted ? InterfaceState::Running : InterfaceState::Down;
        }
    }
    freeifaddrs(pList);
    return eState;
}

} // namespace cfgctl
