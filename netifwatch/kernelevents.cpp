#include "netifwatch/kernelevents.h"

#include "platform/common/log.h"

#include <array>
#include <cerrno>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace netifwatch
{

namespace
{

constexpr char s_acLogFile[] = "kernelevents";

constexpr std::size_t s_uiMessageBytes = 32768;
constexpr int s_iMessagesPerTurn = 256; // then the loop handles others, too

constexpr unsigned groupBit(unsigned a_uiGroup)
{
    return 1U << (a_uiGroup - 1);
}

/// Of the routes only default routes count; a router that learns routes has thousands of others.
bool concernsUs(const char* a_pBytes, int a_iSize)
{
    const auto* pMessage = reinterpret_cast<const nlmsghdr*>(a_pBytes);
    for (; mnl_nlmsg_ok(pMessage, a_iSize); pMessage = mnl_nlmsg_next(pMessage, &a_iSize))
    {
        const bool bRoute = pMessage->nlmsg_type == RTM_NEWROUTE || pMessage->nlmsg_type == RTM_DELROUTE;
        if (!bRoute || (mnl_nlmsg_get_payload_len(pMessage) >= sizeof(rtmsg) &&
                        static_cast<const rtmsg*>(mnl_nlmsg_get_payload(pMessage))->rtm_dst_len == 0))
        {
            return true;
        }
    }
    return false;
}

} // namespace

KernelEvents::KernelEvents(platform::EventLoop& a_oLoop,
                           bool a_bRoutes,
                           int a_iBufferBytes,
                           std::function<void()> a_oHint)
    : m_oLoop(a_oLoop), m_oHint(std::move(a_oHint)),
      m_oSocket(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
      m_iModuleId(VADRO_Sysloglevel_registerModul("netifwatch"))
{
    if (a_iBufferBytes > 0)
    {
        setsockopt(m_oSocket.get(), SOL_SOCKET, SO_RCVBUF, &a_iBufferBytes, sizeof a_iBufferBytes);
    }
    sockaddr_nl oAddress = {};
    oAddress.nl_family = AF_NETLINK;
    oAddress.nl_groups = groupBit(RTNLGRP_LINK) | groupBit(RTNLGRP_IPV4_IFADDR) | groupBit(RTNLGRP_IPV6_IFADDR);
    if (a_bRoutes)
    {
        oAddress.nl_groups |= groupBit(RTNLGRP_IPV4_ROUTE) | groupBit(RTNLGRP_IPV6_ROUTE);
    }
    if (!m_oSocket.isOpen() ||
        bind(m_oSocket.get(), reinterpret_cast<const sockaddr*>(&oAddress), sizeof oAddress) != 0)
    {
        throw std::system_error(
            errno,
            std::generic_category(),
            "cannot listen for the kernel's interface events (needs AF_NETLINK and a file descriptor)");
    }
    m_oLoop.add(m_oSocket.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

KernelEvents::~KernelEvents()
{
    m_oLoop.remove(m_oSocket.get());
}

void KernelEvents::onReadable()
{
    alignas(nlmsghdr) std::array<char, s_uiMessageBytes> oBuffer; // NOLINT(*-member-init): filled by the kernel
    bool bHint = false;
    for (int iMessage = 0; iMessage < s_iMessagesPerTurn; ++iMessage)
    {
        const ssize_t iSize = recv(m_oSocket.get(), oBuffer.data(), oBuffer.size(), 0);
        if (iSize >= 0)
        {
            bHint = bHint || concernsUs(oBuffer.data(), static_cast<int>(iSize));
        }
        else if (errno == ENOBUFS)
        {
            LOG_INFO("Event buffer overrun; reading all interfaces again.");
            bHint = true;
        }
        else if (errno != EINTR)
        {
            break;
        }
    }
    if (bHint)
    {
        m_oHint();
    }
}

} // namespace netifwatch
