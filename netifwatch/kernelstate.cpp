#include "netifwatch/kernelstate.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <functional>
#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <map>
#include <memory>
#include <net/if.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <vector>

namespace netifwatch
{

namespace
{

constexpr int s_iTries = 100;                    // a reading takes a fraction of a millisecond
constexpr std::size_t s_uiReplyBytes = 32768;    // the kernel fills no larger buffer in one go
constexpr unsigned s_uiSequence = 1;             // every request has a socket of its own
constexpr std::uint8_t s_uiOperationUnknown = 0; // IF_OPER_UNKNOWN and IF_OPER_UP of linux/if.h,
constexpr std::uint8_t s_uiOperationUp = 6;      // which cannot be included along with net/if.h

using ByIndex = std::map<int, Interface>;
using Attributes = std::array<const nlattr*, 64>;

using Reader = std::function<void(const nlmsghdr& a_oMessage)>;

struct SocketEnd
{
    void operator()(mnl_socket* a_pSocket) const { mnl_socket_close(a_pSocket); }
};
using Socket = std::unique_ptr<mnl_socket, SocketEnd>;

enum class Answer
{
    Ok,
    Interrupted, ///< what was listed changed meanwhile: the list has holes
    Refused      ///< errno says why
};

Socket openSocket()
{
    Socket pSocket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC));
    if (pSocket == nullptr || mnl_socket_bind(pSocket.get(), 0, MNL_SOCKET_AUTOPID) != 0)
    {
        throw std::system_error(errno,
                                std::generic_category(),
                                "cannot ask the kernel about interfaces (needs AF_NETLINK and a file descriptor)");
    }
    const timeval oLimit = {5, 0}; // the kernel answers at once; for one that does not
    setsockopt(mnl_socket_get_fd(pSocket.get()), SOL_SOCKET, SO_RCVTIMEO, &oLimit, sizeof oLimit);
    return pSocket;
}

struct Reading
{
    Reader m_oReader;
    std::exception_ptr m_pFailure; // no exception may pass through libmnl
};

int passOn(const nlmsghdr* a_pMessage, void* a_pReading)
{
    auto& oReading = *static_cast<Reading*>(a_pReading);
    try
    {
        oReading.m_oReader(*a_pMessage);
        return MNL_CB_OK;
    }
    catch (...)
    {
        oReading.m_pFailure = std::current_exception();
        return MNL_CB_STOP;
    }
}

/// Sends a request and gives every message of the reply to the reader.
Answer ask(nlmsghdr& a_oRequest, Reader a_oReader)
{
    const Socket pSocket = openSocket();
    a_oRequest.nlmsg_seq = s_uiSequence;
    if (mnl_socket_sendto(pSocket.get(), &a_oRequest, a_oRequest.nlmsg_len) < 0)
    {
        return Answer::Refused;
    }
    const unsigned uiPort = mnl_socket_get_portid(pSocket.get());
    const bool bList = (a_oRequest.nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP;
    std::vector<char> oBuffer(s_uiReplyBytes);
    Reading oReading{std::move(a_oReader), nullptr};
    for (;;)
    {
        const ssize_t iSize = mnl_socket_recvfrom(pSocket.get(), oBuffer.data(), oBuffer.size());
        if (iSize < 0 && errno == EINTR)
        {
            continue;
        }
        if (iSize < 0)
        {
            return Answer::Refused;
        }
        const int iEnd =
            mnl_cb_run(oBuffer.data(), static_cast<std::size_t>(iSize), s_uiSequence, uiPort, passOn, &oReading);
        if (oReading.m_pFailure)
        {
            std::rethrow_exception(oReading.m_pFailure);
        }
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

int noteAttribute(const nlattr* a_pAttribute, void* a_pAttributes)
{
    auto& oAttributes = *static_cast<Attributes*>(a_pAttributes);
    const std::uint16_t uiType = mnl_attr_get_type(a_pAttribute);
    if (uiType < oAttributes.size())
    {
        oAttributes[uiType] = a_pAttribute; // NOLINT(cppcoreguidelines-pro-bounds-constant-array-index): checked
    }
    return MNL_CB_OK;
}

template<typename Header>
Attributes readAttributes(const nlmsghdr& a_oMessage)
{
    Attributes oAttributes = {};
    mnl_attr_parse(&a_oMessage, sizeof(Header), noteAttribute, &oAttributes);
    return oAttributes;
}

/// Drivers without operational states (tun, ppp) report UNKNOWN: they run while they are up.
bool isUp(const ifinfomsg& a_oLink, const Attributes& a_oAttributes)
{
    constexpr unsigned uiWanted = IFF_UP | IFF_RUNNING;
    const std::uint8_t uiOperation = a_oAttributes[IFLA_OPERSTATE] != nullptr
                                         ? mnl_attr_get_u8(a_oAttributes[IFLA_OPERSTATE])
                                         : s_uiOperationUnknown;
    return (a_oLink.ifi_flags & uiWanted) == uiWanted &&
           (uiOperation == s_uiOperationUp || uiOperation == s_uiOperationUnknown);
}

void addLink(const nlmsghdr& a_oMessage, ByIndex& a_oInterfaces)
{
    const auto& oLink = *static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&a_oMessage));
    const Attributes oAttributes = readAttributes<ifinfomsg>(a_oMessage);
    if (a_oMessage.nlmsg_type != RTM_NEWLINK || oAttributes[IFLA_IFNAME] == nullptr)
    {
        return;
    }
    Interface oInterface;
    oInterface.m_iIndex = oLink.ifi_index;
    const char* pName = mnl_attr_get_str(oAttributes[IFLA_IFNAME]);
    oInterface.m_strName.assign(pName, strnlen(pName, mnl_attr_get_payload_len(oAttributes[IFLA_IFNAME])));
    oInterface.m_bUp = isUp(oLink, oAttributes);
    a_oInterfaces[oLink.ifi_index] = std::move(oInterface);
}

void addAddress(const nlmsghdr& a_oMessage, ByIndex& a_oInterfaces)
{
    const auto& oHeader = *static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(&a_oMessage));
    const Attributes oAttributes = readAttributes<ifaddrmsg>(a_oMessage);
    const auto it = a_oInterfaces.find(static_cast<int>(oHeader.ifa_index));
    // On a point-to-point link IFA_ADDRESS is the other end.
    const nlattr* pAddress = oAttributes[IFA_LOCAL] != nullptr ? oAttributes[IFA_LOCAL] : oAttributes[IFA_ADDRESS];
    if (a_oMessage.nlmsg_type != RTM_NEWADDR || it == a_oInterfaces.end() || pAddress == nullptr)
    {
        return;
    }
    const auto oAddress =
        makeAddress(oHeader.ifa_family, mnl_attr_get_payload(pAddress), mnl_attr_get_payload_len(pAddress));
    if (oAddress)
    {
        const std::uint32_t uiFlags =
            oAttributes[IFA_FLAGS] != nullptr ? mnl_attr_get_u32(oAttributes[IFA_FLAGS]) : oHeader.ifa_flags;
        it->second.m_oAddresses.push_back({*oAddress, oHeader.ifa_scope, uiFlags});
    }
}

/// Asks for a list.
template<typename Header>
Answer list(std::uint16_t a_uiType, ByIndex& a_oInterfaces, void (*a_pAdd)(const nlmsghdr&, ByIndex&))
{
    alignas(nlmsghdr) std::array<char, 256> oBuffer = {};
    nlmsghdr& oRequest = *mnl_nlmsg_put_header(oBuffer.data());
    oRequest.nlmsg_type = a_uiType;
    oRequest.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    mnl_nlmsg_put_extra_header(&oRequest, sizeof(Header)); // all zero: every family
    if (a_uiType == RTM_GETLINK)
    {
        mnl_attr_put_u32(&oRequest, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
    }
    return ask(oRequest, [&](const nlmsghdr& a_oMessage) { a_pAdd(a_oMessage, a_oInterfaces); });
}

bool readOnce(ByIndex& a_oInterfaces)
{
    a_oInterfaces.clear();
    const Answer eLinks = list<ifinfomsg>(RTM_GETLINK, a_oInterfaces, addLink);
    const Answer eAddresses =
        eLinks == Answer::Refused ? eLinks : list<ifaddrmsg>(RTM_GETADDR, a_oInterfaces, addAddress);
    if (eAddresses == Answer::Refused)
    {
        throw std::system_error(errno, std::generic_category(), "cannot read the kernel's list of interfaces");
    }
    return eLinks == Answer::Ok && eAddresses == Answer::Ok;
}

void note(const nlmsghdr& a_oMessage, int a_iWanted, std::optional<Route>& a_oFound)
{
    const auto& oHeader = *static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&a_oMessage));
    const nlattr* pInterface = readAttributes<rtmsg>(a_oMessage)[RTA_OIF];
    const Route oRoute{pInterface != nullptr ? static_cast<int>(mnl_attr_get_u32(pInterface)) : 0,
                       oHeader.rtm_dst_len == 0};
    if (oHeader.rtm_type == RTN_UNICAST && (a_iWanted == 0 || oRoute.m_iInterface == a_iWanted))
    {
        a_oFound = oRoute;
    }
}

} // namespace

Interfaces readInterfaces()
{
    ByIndex oFound;
    int iTries = 1;
    while (!readOnce(oFound)) // it may lack interfaces that are there
    {
        if (++iTries > s_iTries)
        {
            throw std::runtime_error("the interfaces change faster than they can be read");
        }
    }
    Interfaces oInterfaces;
    for (auto& [iIndex, oInterface] : oFound)
    {
        oInterfaces.push_back(std::move(oInterface));
    }
    return oInterfaces;
}

std::optional<Route> lookUpRoute(const IpAddress& a_oAddress, int a_iInterface)
{
    alignas(nlmsghdr) std::array<char, 256> oBuffer = {};
    nlmsghdr& oRequest = *mnl_nlmsg_put_header(oBuffer.data());
    oRequest.nlmsg_type = RTM_GETROUTE;
    oRequest.nlmsg_flags = NLM_F_REQUEST;
    auto& oHeader = *static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(&oRequest, sizeof(rtmsg)));
    const std::size_t uiBytes = a_oAddress.m_iFamily == AF_INET ? 4 : 16;
    oHeader.rtm_family = static_cast<unsigned char>(a_oAddress.m_iFamily);
    oHeader.rtm_dst_len = static_cast<unsigned char>(8 * uiBytes);
    // The entry of the routing table, not the result of the lookup: only that tells whether it is a default route, and
    // whether the interface has a route to the address at all.
    oHeader.rtm_flags = RTM_F_FIB_MATCH;
    mnl_attr_put(&oRequest, RTA_DST, uiBytes, a_oAddress.m_auiBytes.data());
    if (a_iInterface != 0)
    {
        mnl_attr_put_u32(&oRequest, RTA_OIF, static_cast<std::uint32_t>(a_iInterface));
    }
    std::optional<Route> oFound;
    const Answer eAnswer = ask(oRequest, [&](const nlmsghdr& a_oMessage) { note(a_oMessage, a_iInterface, oFound); });
    return eAnswer == Answer::Ok ? oFound : std::nullopt;
}

} // namespace netifwatch
