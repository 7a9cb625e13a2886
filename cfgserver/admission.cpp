#include "cfgserver/admission.h"

#include "cfgserver/session.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace cfgserver
{

namespace
{

std::vector<gid_t> readGroups(int a_iSocket)
{
    std::vector<gid_t> oGroups(1);
    socklen_t uiSize = 0;
    // Without room it returns the size needed, mostly by failing.
    ::getsockopt(a_iSocket, SOL_SOCKET, SO_PEERGROUPS, oGroups.data(), &uiSize);
    oGroups.resize(uiSize / sizeof(gid_t));
    const bool bRead = ::getsockopt(a_iSocket, SOL_SOCKET, SO_PEERGROUPS, oGroups.data(), &uiSize) == 0;
    return bRead ? oGroups : std::vector<gid_t>();
}

bool isServed(const Session& a_oSession)
{
    return a_oSession.getClient().m_bGreeted && !a_oSession.isOver();
}

/// Processes without a number in this PID namespace, those of other containers, all have 0.
using Process = std::pair<pid_t, uid_t>;

Process processOf(const Peer& a_oPeer)
{
    return {a_oPeer.m_iPid, a_oPeer.m_uiUser};
}

Session* findIdlest(const Sessions& a_oSessions, const Service& a_oService, const Process& a_oOwner)
{
    Session* pIdlest = nullptr;
    for (const auto& [iFd, pSession] : a_oSessions)
    {
        const bool bMayGo = isServed(*pSession) && processOf(pSession->getPeer()) == a_oOwner && pSession->isIdle() &&
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
    std::map<Process, std::size_t> oProcesses;
    std::size_t uiClients = 0;
    for (const auto& [iFd, pSession] : a_oSessions)
    {
        if (isServed(*pSession))
        {
            ++uiClients;
            ++oProcesses[processOf(pSession->getPeer())];
        }
    }
    const std::size_t uiOwn = oProcesses[processOf(a_oNewcomer)];
    if (uiOwn >= a_oLimits.m_uiPerProcess)
    {
        return "its process already has " + std::to_string(uiOwn) + " connections and gets no more";
    }
    if (uiClients < a_oLimits.m_uiClients)
    {
        return std::nullopt;
    }
    const auto& [oOwner, uiMost] =
        *std::max_element(oProcesses.begin(),
                          oProcesses.end(),
                          [](const auto& a_oOne, const auto& a_oTwo) { return a_oOne.second < a_oTwo.second; });
    // A process that has no more than the newcomer would get keeps its sessions: they would only take turns.
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
