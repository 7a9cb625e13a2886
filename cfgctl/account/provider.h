#pragma once

#include <string>
#include <vector>

namespace cfgctl
{

enum class SignIn
{
    Basic, ///< user name and password in the request's header
    Url,   ///< whatever identifies the user stands in the URL
    Gnudip
};

/// "basic", "url" or "gnudip".
[[nodiscard]] const char* nameSignIn(SignIn a_eSignIn);

/// What has to be known of a provider to make an account's row. Texts of a file, checked by parseProviders.
struct Provider
{
    std::string m_strKey;
    std::string m_strName;
    bool m_bSure = false;
    std::string m_strDoubt; ///< what isn't confirmed by the provider's own pages; of one that isn't sure
    SignIn m_eSignIn = SignIn::Basic;
    std::string m_strUrl;          ///< template; GnuDIP: the server
    std::string m_strUrlDual;      ///< template with both address families; empty when there is none
    std::string m_strUserHint;     ///< what the provider takes as user name; empty when it takes none
    bool m_bUserIsHost = false;    ///< the user name is the host name unless given
    std::string m_strPasswordHint; ///< what the provider takes as password
    bool m_bEncode = true;         ///< the provider decodes percent-encoded values; else they must need no encoding
    std::string m_strExpect;
    std::string m_strUnchanged; ///< the answer to an unchanged address where the expected text doesn't cover it
    int m_iRetry = 5;
    std::string m_strNotes;
    std::string m_strDoc;
};

using Providers = std::vector<Provider>;

/// Null when there is none. The pointer lives as long as the list is left alone.
[[nodiscard]] const Provider* findProvider(const Providers& a_oProviders, const std::string& a_strKey);

/// The provider that a row's ServiceType and ServerAddr come from: for HTTPS one whose template has the same address
/// before the query, for GnuDIP one of the same server. Null when there is none.
[[nodiscard]] const Provider*
recogniseProvider(const Providers& a_oProviders, const std::string& a_strServiceType, const std::string& a_strServer);

} // namespace cfgctl
