#include "cfgserver/peer.h"

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
        throw std::system_error(errno, std::generic_category(), "can't tell who connected");
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

} // namespace cfgserver
