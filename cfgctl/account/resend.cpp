#include "cfgctl/account/resend.h"

#include "cfgctl/account/activity.h"
#include "cfgctl/text.h"
#include "config/nameservers.h"

#include <algorithm>
#include <set>

namespace cfgctl
{

namespace
{

bool hasServer(const Rows& a_oServers, const std::string& a_strInterface)
{
    return std::any_of(a_oServers.begin(),
                       a_oServers.end(),
                       [&](const korrin::ValueList& a_oServer) {
                           return isSet(a_oServer, dbm::Enable) && textOf(a_oServer, dbm::Interface) == a_strInterface;
                       });
}

Rows findOthers(const StatusSources& a_oSources, const std::vector<std::string>& a_oChanged)
{
    Rows oOthers;
    if (!a_oSources.m_oRelay.empty() && quorvad::usesUserServersOnly(a_oSources.m_oRelay.front()))
    {
        return oOthers;
    }
    for (const korrin::ValueList& oAccount : a_oSources.m_oAccounts)
    {
        const std::string strInterface = textOf(oAccount, dbm::Interface);
        const bool bChanged =
            std::find(a_oChanged.begin(), a_oChanged.end(), textOf(oAccount, dbm::Id)) != a_oChanged.end();
        const bool bKnown = !findLast(a_oSources.m_oInterfaces, dbm::Name, strInterface).empty();
        if (!bChanged && bKnown && isSet(oAccount, dbm::Enable) && hasServer(a_oSources.m_oServers, strInterface))
        {
            oOthers.push_back(oAccount);
        }
    }
    return oOthers;
}

} // namespace

std::string describeFirstTry()
{
    return "within " + std::to_string(g_iLatestTrySec) + " seconds";
}

std::string describeResend(const StatusSources& a_oSources,
                           const Providers& a_oProviders,
                           const std::vector<std::string>& a_oChanged)
{
    const Rows oOthers = findOthers(a_oSources, a_oChanged);
    if (oOthers.empty() || !isConnected(a_oSources, g_pDaemon).value_or(true))
    {
        return {};
    }
    std::set<std::string> oBlockers;
    for (const korrin::ValueList& oOther : oOthers)
    {
        const Provider* pProvider = recogniseProvider(a_oProviders, oOther);
        if (pProvider != nullptr && pProvider->m_bBlocks)
        {
            oBlockers.insert(pProvider->m_strName);
        }
    }
    const std::string strNumber = std::to_string(oOthers.size());
    std::string strText = "Any change of an account makes the daemon send all enabled ones again: " + strNumber +
                          (oOthers.size() == 1 ? " other follows " : " others follow ") + describeFirstTry();
    if (!oBlockers.empty())
    {
        strText += ", and " + join(oBlockers, ", ") + " may block clients that often repeat an unchanged address";
    }
    return strText + ".";
}

} // namespace cfgctl
