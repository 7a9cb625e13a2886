#include "netifwatch/netlinksocket.h"

#include <cerrno>
#include <libmnl/libmnl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <vector>

namespace netifwatch
{

namespace
{

constexpr std::size_t s_uiReplyBytes = 32768; // the kernel fills no larger buffer in one go

int passOn(const nlmsghdr* a_pMessage, void* a_pReader)
{
    (*static_cast<const NetlinkSocket::Reader*>(a_pReader))(*a_pMessage);
    return MNL_CB_OK;
}

} // namespace

NetlinkSocket::NetlinkSocket() : m_pSocket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC))
{
    if (m_pSocket == nullptr || mnl_socket_bind(m_pSocket, 0, MNL_SOCKET_AUTOPID) != 0)
    {
        const int iReason = errno;
        if (m_pSocket != nullptr)
        {
            mnl_socket_close(m_pSocket);
        }
        throw std::system_error(iReason,
                                std::generic_category(),
                                "can't ask the kernel about interfaces (it needs AF_NETLINK and a descriptor)");
    }
    const timeval oLimit = {5, 0};
    setsockopt(mnl_socket_get_fd(m_pSocket), SOL_SOCKET, SO_RCVTIMEO, &oLimit, sizeof oLimit);
}

NetlinkSocket::~NetlinkSocket()
{
    mnl_socket_close(m_pSocket);
}

NetlinkSocket::Answer NetlinkSocket::ask(nlmsghdr& a_oRequest, const Reader& a_oReader)
{
    a_oRequest.nlmsg_seq = ++m_uiSequence;
    const unsigned uiPort = mnl_socket_get_portid(m_pSocket);
    if (mnl_socket_sendto(m_pSocket, &a_oRequest, a_oRequest.nlmsg_len) < 0)
    {
        return Answer::Refused;
    }
    const bool bList = (a_oRequest.nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP;
    std::vector<char> oBuffer(s_uiReplyBytes);
    Reader oReader = a_oReader;
    for (;;)
    {
        const ssize_t iSize = mnl_socket_recvfrom(m_pSocket, oBuffer.data(), oBuffer.size());
        if (iSize < 0 && errno == EINTR)
        {
            continue;
        }
        if (iSize < 0)
        {
            return Answer::Refused;
        }
        const int iEnd =
            mnl_cb_run(oBuffer.data(), static_cast<std::size_t>(iSize), m_uiSequence, uiPort, passOn, &oReader);
        if (iEnd < 0)
        {
            return errno == EINTR ? Answer::Interrupted : Answer::Refused;
        }
        if (iEnd == 0 || !bList)
        {
            return Answer::Ok;
        }
    }
}

} // namespace netifwatch
