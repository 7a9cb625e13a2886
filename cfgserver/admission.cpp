#include "cfgserver/admission.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace cfgserver
{

namespace
{

bool isServed(const Session& a_oSession)
{
    return a_oSession.getClient().m_bGreeted && !a_oSession.isOver();
}

bool isSameProcess(const Peer& a_oOne, const Peer& a_oTwo)
{
    // All processes that the kernel has no number for here, those of other containers, have 0.
    return a_oOne.m_iPid == a_oTwo.m_iPid && a_oOne.m_uiUser == a_oTwo.m_uiUser;
}

using ProcessCount = std::pair<Peer, std::size_t>;

bool hasFewer(const ProcessCount& a_oOne, const ProcessCount& a_oTwo)
{
    return a_oOne.second < a_oTwo.second;
}

std::size_t& countOf(std::vector<ProcessCount>& a_oProcesses, const Peer& a_oPeer)
{
    const auto it = std::find_if(a_oProcesses.begin(),
                                 a_oProcesses.end(),
                                 [&](const ProcessCount& a_oCount) { return isSameProcess(a_oCount.first, a_oPeer); });
    return it != a_oProcesses.end() ? it->second : a_oProcesses.emplace_back(a_oPeer, 0).second;
}

Session* findIdlest(const Sessions& a_oSessions, const Service& a_oService, const Peer& a_oOwner)
{
    Session* pIdlest = nullptr;
    for (const auto& [iFd, pSession] : a_oSessions)
    {
        const bool bMayGo = isServed(*pSession) && isSameProcess(pSession->getPeer(), a_oOwner) && pSession->isIdle() &&
                            !a_oService.holdsAccess(pSession->getClient());
        if (bMayGo && (pIdlest == nullptr || pSession->getLastUse() < pIdlest->getLastUse()))
        {
            pIdlest = pSession.get();
        }
    }
    return pIdlest;
}

} // namespace

std::string
makeRoom(const Sessions& a_oSessions, const Service& a_oService, const Limits& a_oLimits, const Peer& a_oNewcomer)
{
    std::vector<ProcessCount> oProcesses = {{a_oNewcomer, 0}};
    std::size_t uiClients = 0;
    for (const auto& [iFd, pSession] : a_oSessions)
    {
        if (isServed(*pSession))
        {
            ++uiClients;
            ++countOf(oProcesses, pSession->getPeer());
        }
    }
    const std::size_t uiOwn = oProcesses.front().second;
    if (uiOwn >= a_oLimits.m_uiPerProcess)
    {
        return "its process has " + std::to_string(uiOwn) + " connections already, and gets no more";
    }
    if (uiClients < a_oLimits.m_uiClients)
    {
        return {};
    }
    const auto& [oOwner, uiMost] = *std::max_element(oProcesses.begin(), oProcesses.end(), hasFewer);
    // A process that has no more than the newcomer would then have gives nothing up: they would only take turns.
    Session* pIdlest = uiMost > uiOwn + 1 ? findIdlest(a_oSessions, a_oService, oOwner) : nullptr;
    if (pIdlest == nullptr)
    {
        return "there are " + std::to_string(uiClients) + " already";
    }
    pIdlest->end("was the idlest of the process with the most connections, and another process needed one");
    return {};
}

} // namespace cfgserver
