#include "cfgctl/account/provider.h"

#include "cfgctl/account/urltemplate.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

template<typename Condition>
const Provider* findFirst(const Providers& a_oProviders, const Condition& a_oCondition)
{
    const auto it = std::find_if(a_oProviders.begin(), a_oProviders.end(), a_oCondition);
    return it == a_oProviders.end() ? nullptr : &*it;
}

} // namespace

const char* nameSignIn(SignIn a_eSignIn)
{
    switch (a_eSignIn)
    {
    case SignIn::Basic:
        return "basic";
    case SignIn::Url:
        return "url";
    case SignIn::Gnudip:
        break;
    }
    return "gnudip";
}

const Provider* findProvider(const Providers& a_oProviders, const std::string& a_strKey)
{
    return findFirst(a_oProviders, [&](const Provider& a_oProvider) { return a_oProvider.m_strKey == a_strKey; });
}

const Provider*
recogniseProvider(const Providers& a_oProviders, const std::string& a_strServiceType, const std::string& a_strServer)
{
    const bool bGnudip = a_strServiceType == "gnudip";
    const std::string strBase = bGnudip ? a_strServer : urlBase(a_strServer);
    return findFirst(a_oProviders,
                     [&](const Provider& a_oProvider)
                     {
                         if (bGnudip || a_oProvider.m_eSignIn == SignIn::Gnudip)
                         {
                             return bGnudip && a_oProvider.m_eSignIn == SignIn::Gnudip &&
                                    a_oProvider.m_strUrl == strBase;
                         }
                         return urlBase(a_oProvider.m_strUrl) == strBase ||
                                (!a_oProvider.m_strUrlDual.empty() && urlBase(a_oProvider.m_strUrlDual) == strBase);
                     });
}

} // namespace cfgctl
