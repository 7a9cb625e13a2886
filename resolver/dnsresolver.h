#pragma once

#include "resolver/channelsockets.h"

#include <ares.h>
#include <cstdint>
#include <netdb.h>
#include <string>

namespace quorvad
{

/// Resolves names to IPv4 addresses through chosen DNS servers, with the queries bound to an interface. Belongs to one
/// action and is used by that action's worker thread alone; needs c-ares to be initialized for the process.
class DnsResolver
{
public:
    /// @param a_strNameservers DNS servers, separated by commas; empty for the system's
    /// Throws Error(AresChannelInitFailed).
    DnsResolver(const std::string& a_strInterface, const std::string& a_strNameservers);
    ~DnsResolver();
    DnsResolver(const DnsResolver&) = delete;
    DnsResolver& operator=(const DnsResolver&) = delete;

    /// 0 and a list that freeaddrinfo releases, or a negative EAI_ code, *a_ppResult untouched. Blocks until c-ares has
    /// an answer or gives up (75 seconds for one dead server).
    [[nodiscard]] int getaddrinfo(const std::string& a_strNode, addrinfo** a_ppResult);

    /// Runs the channel until the request has a result or the channel has nothing left to do.
    void resolvLoop(ares_channel a_pChannel, int a_iRequestId);

    /// c-ares's completion handler; a_pArg points to the int that is the request's id. Lets no exception out.
    static void gethostbynameCallback(void* a_pArg, int a_iStatus, int a_iTimeouts, hostent* a_pHost) noexcept;

    ares_channel m_pChannel;
    std::string m_strInterface;
    std::uint32_t m_iModuleId;
    ChannelSockets m_oSockets;
};

} // namespace quorvad
