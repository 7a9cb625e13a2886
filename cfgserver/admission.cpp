#include "cfgserver/admission.h"

#include "cfgserver/session.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace cfgserver
{

namespace
{

// The kernel's limit of supplementary groups.
constexpr std::size_t s_uiMaxGroups = 65536;

std::vector<gid_t> readGroups(int a_iSocket)
{
    std::vector<gid_t> oGroups(32);
    for (;;)
    {
        auto uiSize = static_cast<socklen_t>(oGroups.size() * sizeof(gid_t));
        if (::getsockopt(a_iSocket, SOL_SOCKET, SO_PEERGROUPS, oGroups.data(), &uiSize) == 0)
        {
            oGroups.resize(uiSize / sizeof(gid_t));
            return oGroups;
        }
        if (errno != ERANGE || oGroups.size() >= s_uiMaxGroups)
        {
            return {};
        }
        oGroups.resize(s_uiMaxGroups);
    }
}

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

std::string Peer::describe() const
{
    return "pid " + std::to_string(m_iPid) + ", uid " + std::to_string(m_uiUser);
}

Peer readPeer(int a_iSocket)
{
    ucred oCredentials = {};
    socklen_t uiSize = sizeof oCredentials;
    if (::getsockopt(a_iSocket, SOL_SOCKET, SO_PEERCRED, &oCredentials, &uiSize) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot identify the peer");
    }
    return {oCredentials.pid, oCredentials.uid, oCredentials.gid};
}

bool mayConnect(int a_iSocket, const Peer& a_oPeer, std::optional<gid_t> a_oGroup)
{
    if (a_oPeer.m_uiUser == 0 || a_oPeer.m_uiUser == ::geteuid())
    {
        return true;
    }
    if (!a_oGroup)
    {
        return false;
    }
    const std::vector<gid_t> oGroups = readGroups(a_iSocket);
    return a_oPeer.m_uiGroup == *a_oGroup || std::find(oGroups.begin(), oGroups.end(), *a_oGroup) != oGroups.end();
}

std::optional<std::string>
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
        return "its process already has " + std::to_string(uiOwn) + " connections and gets no more";
    }
    if (uiClients < a_oLimits.m_uiClients)
    {
        return std::nullopt;
    }
    const auto& [oOwner, uiMost] = *std::max_element(oProcesses.begin(), oProcesses.end(), hasFewer);
    // A process that has no more than the newcomer would then have gives nothing up: they would only take turns.
    Session* pIdlest = uiMost > uiOwn + 1 ? findIdlest(a_oSessions, a_oService, oOwner) : nullptr;
    if (pIdlest == nullptr)
    {
        return std::to_string(uiClients) + " are connected already";
    }
    pIdlest->end(
        "was the one longest idle of the process with the most connections, and another process needed a place");
    return std::nullopt;
}

} // namespace cfgserver
