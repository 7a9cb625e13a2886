#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace cfgserver
{

/// Who is at the other end of a connection, as the kernel says; fixed when it connected.
struct Peer
{
    pid_t m_iPid = 0;
    uid_t m_uiUser = 0;
    gid_t m_uiGroup = 0;

    /// "pid 12, uid 0", for log lines.
    [[nodiscard]] std::string describe() const;
};

/// Throws std::system_error where the kernel doesn't say.
[[nodiscard]] Peer readPeer(int a_iSocket);

/// Root, the service's own user and the members of the group (where one is given) may connect.
[[nodiscard]] bool mayConnect(int a_iSocket, const Peer& a_oPeer, std::optional<gid_t> a_oGroup);

} // namespace cfgserver
