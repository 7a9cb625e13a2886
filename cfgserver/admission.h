#pragma once

#include "cfgserver/session.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace cfgserver
{

/// How many clients, and for how long.
struct Limits
{
    std::size_t m_uiClients = 64;
    std::size_t m_uiPerProcess = 16; ///< of them, those of one process
    std::size_t m_uiStrangers = 16;  ///< besides them, those that have not said Hello yet
    Timeouts m_oPatience;
    AccessLimits m_oAccess;
};

using Sessions = std::map<int, std::unique_ptr<Session>>; // by descriptor

/// Room for a client that says Hello; where all places are taken, by ending the idlest session of the process that has
/// the most. Returns why there is none; empty when there is.
[[nodiscard]] std::string
makeRoom(const Sessions& a_oSessions, const Service& a_oService, const Limits& a_oLimits, const Peer& a_oNewcomer);

} // namespace cfgserver
