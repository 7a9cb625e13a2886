#include "actions/gnudipprotocol.h"
#include "cfgctl/account/attempts.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/problemfinder.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/urltemplate.h"

#include <algorithm>
#include <cctype>

namespace cfgctl
{

namespace
{

/// Why the transfer library sends nothing at all: another protocol, no server, a blank or control character.
bool isRefused(const std::string& a_strUrl)
{
    const bool bInvalid = std::any_of(
        a_strUrl.begin(), a_strUrl.end(), [](unsigned char a_c) { return std::iscntrl(a_c) != 0 || a_c == ' '; });
    return bInvalid || a_strUrl.compare(0, 4, "http") != 0 || urlHost(a_strUrl).empty();
}

class RequestProblems : public ProblemFinder
{
public:
    using ProblemFinder::ProblemFinder;

    void find()
    {
        isGnudip(m_oAccount) ? checkGnudip() : checkUrl();
        checkLastAnswer();
    }

private:
    void checkGnudip()
    {
        stopIf(!quorvad::isUserPartOfHost(text(dbm::DynDns_AccountUserName), text(dbm::DynDns_Hostname)),
               "gnudip-host",
               "Hostname does not begin with the user name, as GnuDIP needs it",
               change("--user USER --host USER.DOMAIN", "sets both"),
               "nothing: Hostname does not fit the user name");
        stopIf(text(dbm::DynDns_ServerAddr).empty(),
               "no-server",
               "No GnuDIP server is set",
               setting("ServerAddr=NAME"),
               "nothing: no server");
        checkReach(textOf(m_oWatch, dbm::Addr), "IPv4");
    }

    /// An address that the Internet cannot reach is of no use to anybody outside.
    void checkReach(const std::string& a_strAddress, const std::string& a_strFamily)
    {
        const std::string strKind = nameUnreachable(a_strAddress);
        warnIf(!strKind.empty(),
               "address-private",
               "The " + a_strFamily + " address to be announced, " + a_strAddress + ", is " + strKind +
                   ": it cannot be reached from the Internet",
               "run the daemon on the outer router, or announce a public IPv6 address; see getting-started.md");
    }

    void checkUrl()
    {
        const std::string strUrl = text(dbm::DynDns_ServerAddr);
        const quorvad::UrlValues oValues = urlValuesOf(m_oAccount, m_oSources);
        warnIf(strUrl.compare(0, 8, "https://") != 0 && !strUrl.empty(),
               "not-encrypted",
               "The URL is not https: user name and password are sent unencrypted",
               "use an https:// URL");
        checkFilledUrl(strUrl, oValues);
        checkHoles(strUrl, oValues);
        if (hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr))
        {
            checkReach(oValues.m_strIpAddr, "IPv4");
        }
        if (hasPlaceholder(strUrl, quorvad::Placeholder_IpAddr6))
        {
            checkReach(oValues.m_strIpAddr6, "IPv6");
        }
        checkSignIn(strUrl);
    }

    /// Filled in as the daemon does it, with addresses that any interface might have.
    void checkFilledUrl(const std::string& a_strUrl, quorvad::UrlValues a_oValues)
    {
        a_oValues.m_strIpAddr = "192.0.2.1";
        a_oValues.m_strIpAddr6 = "2001:db8::1";
        const bool bPlain = a_strUrl.find("://") == std::string::npos && !a_strUrl.empty();
        const std::string strUrl = quorvad::fillPlaceholders((bPlain ? "http://" : "") + a_strUrl, a_oValues);
        const std::string strFault = findUrlFault(strUrl, {});
        const std::string strNext =
            "percent-encode what goes into it, as 'cfgctl account password' does, or replace it: " +
            setting("ServerAddr=URL");
        const bool bRefused = isRefused(strUrl);
        stopIf(bRefused,
               "url-invalid",
               "The update URL, once filled in, cannot be used: " + strFault,
               strNext,
               "nothing: invalid update URL");
        warnIf(!bRefused && !strFault.empty(),
               "url-doubtful",
               "The update URL, once filled in, looks wrong: " + strFault,
               strNext);
    }

    void checkHoles(const std::string& a_strUrl, const quorvad::UrlValues& a_oValues)
    {
        const std::string strNone = "Interface '" + m_strInterface + "' has no ";
        const std::string strEmpty =
            " is left empty; some providers then delete the record or use the sender's address";
        warnIf(!m_oWatch.empty() && a_oValues.m_strIpAddr.empty() &&
                   hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr),
               "no-ipv4",
               strNone + "IPv4 address, so <ipaddr>" + strEmpty,
               "wait for an address, or use a template without <ipaddr>");
        warnIf(hasPlaceholder(a_strUrl, quorvad::Placeholder_IpAddr6) && a_oValues.m_strIpAddr6.empty(),
               "no-ipv6",
               strNone + "IPv6 address, so <ipaddr6>" + strEmpty,
               "until it has one, use the template for IPv4 only (account add without --dual)");
    }

    /// The reason is nearly always the same, and providers block those who go on.
    void checkLastAnswer()
    {
        const std::string strId = text(dbm::Id);
        const korrin::ValueList& oLog = findLast(m_oSources.m_oLog, dbm::DynDnsLog_DynDnsId, strId);
        if (oLog.empty() || isGnudip(m_oAccount) ||
            judgeLast(m_oAccount, m_oSources).value_or(Outcome::Unknown) != Outcome::Failed)
        {
            return;
        }
        const std::string strCode = textOf(oLog, dbm::DynDnsLog_ResponseCode);
        const bool bBadAuth = textOf(oLog, dbm::DynDnsLog_Response).find("badauth") != std::string::npos;
        warnIf(bBadAuth || strCode == "401" || strCode == "403",
               g_pSignInCode,
               "At the last try, the provider refused the user name or the password (" +
                   (bBadAuth ? "badauth" : "HTTP status " + strCode) + ")",
               "check both; 'cfgctl account password " + strId + "' sets the password");
    }

    void checkSignIn(const std::string& a_strUrl)
    {
        const std::string strUser = text(dbm::DynDns_AccountUserName);
        const bool bPassword = !text(dbm::DynDns_Password).empty();
        const bool bInUrl = hasPlaceholder(a_strUrl, quorvad::Placeholder_Password);
        warnIf(strUser.find(':') != std::string::npos,
               "user-colon",
               "The user name contains ':': the server takes what follows as the password",
               change("--user NAME", "changes it"));
        warnIf(bPassword && !bInUrl && strUser.empty(),
               "password-unused",
               "The password is never sent: there is neither a user name nor <password> in the URL",
               change("--user NAME", "sets a user name"));
        warnIf(!bPassword && (bInUrl || !strUser.empty()),
               "no-password",
               "No password is set",
               "'cfgctl account password " + idOrPlaceholder() + "' sets it");
        warnIf(text(dbm::DynDns_ExpectedResultSubString).find('\n') != std::string::npos,
               "expect-line-feed",
               "The expected text contains a line feed, so no answer can contain it",
               change("--expect TEXT", "changes it"));
    }
};

} // namespace

void findRequestProblems(const korrin::ValueList& a_oAccount,
                         const StatusSources& a_oSources,
                         std::vector<Problem>& a_oFound)
{
    RequestProblems(a_oAccount, a_oSources, a_oFound).find();
}

} // namespace cfgctl
