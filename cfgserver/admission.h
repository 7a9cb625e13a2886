#pragma once

#include "cfgserver/service.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>

namespace cfgserver
{

/// The peer of a connection, as it was when it connected.
struct Peer
{
    pid_t m_iPid = 0;
    uid_t m_uiUser = 0;
    gid_t m_uiGroup = 0;

    /// "pid 12, uid 0", for log lines.
    [[nodiscard]] std::string describe() const;
};

/// Throws std::system_error when the kernel does not tell.
[[nodiscard]] Peer readPeer(int a_iSocket);

/// Root, the service's own user and the members of the group (where one is given) may connect.
[[nodiscard]] bool mayConnect(int a_iSocket, const Peer& a_oPeer, std::optional<gid_t> a_oGroup);

/// How long a client may take.
struct Timeouts
{
    std::chrono::milliseconds m_oHello = std::chrono::seconds(5);    ///< from connecting to its Hello
    std::chrono::milliseconds m_oStalled = std::chrono::seconds(30); ///< for half a request, or for reading its replies
};

/// How many clients, and for how long.
struct Limits
{
    std::size_t m_uiClients = 64;
    std::size_t m_uiPerProcess = 16; ///< of them, those of one process
    std::size_t m_uiStrangers = 16;  ///< besides them, those that have not said Hello yet
    Timeouts m_oTimeouts;
    AccessLimits m_oAccess;
};

class Session;
using Sessions = std::map<int, std::unique_ptr<Session>>; // by descriptor

/// Makes room for a client that says Hello: if all places are taken, by ending the idlest session of the process with
/// the most. Returns why there is no room, or nothing.
[[nodiscard]] std::optional<std::string>
makeRoom(const Sessions& a_oSessions, const Service& a_oService, const Limits& a_oLimits, const Peer& a_oNewcomer);

} // namespace cfgserver
