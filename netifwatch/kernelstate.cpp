#include "netifwatch/kernelstate.h"

#include "netifwatch/netlink.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <map>
#include <net/if.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>

namespace netifwatch
{

namespace
{

constexpr int s_iTries = 100;                    // a reading takes a fraction of a millisecond
constexpr std::uint8_t s_uiOperationUnknown = 0; // IF_OPER_UNKNOWN and IF_OPER_UP of linux/if.h,
constexpr std::uint8_t s_uiOperationUp = 6;      // which cannot be included along with net/if.h

using ByIndex = std::map<int, Interface>;
using Attributes = std::array<const nlattr*, 64>;

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

/// Operational state UNKNOWN is what drivers without a notion of it have (tun, ppp): they run while they are up.
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

/// The answer of a question for a list.
template<typename Header>
NetlinkSocket::Answer list(std::uint16_t a_uiType, ByIndex& a_oInterfaces, void (*a_pAdd)(const nlmsghdr&, ByIndex&))
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
    NetlinkSocket oSocket;
    return oSocket.ask(oRequest, [&](const nlmsghdr& a_oMessage) { a_pAdd(a_oMessage, a_oInterfaces); });
}

bool readOnce(ByIndex& a_oInterfaces)
{
    a_oInterfaces.clear();
    const NetlinkSocket::Answer eLinks = list<ifinfomsg>(RTM_GETLINK, a_oInterfaces, addLink);
    const NetlinkSocket::Answer eAddresses =
        eLinks == NetlinkSocket::Answer::Refused ? eLinks : list<ifaddrmsg>(RTM_GETADDR, a_oInterfaces, addAddress);
    if (eAddresses == NetlinkSocket::Answer::Refused)
    {
        throw std::system_error(errno, std::generic_category(), "cannot read the kernel's list of interfaces");
    }
    return eLinks == NetlinkSocket::Answer::Ok && eAddresses == NetlinkSocket::Answer::Ok;
}

int findInterface(const nlattr* a_pAttribute, void* a_pRoute)
{
    if (mnl_attr_get_type(a_pAttribute) == RTA_OIF && mnl_attr_validate(a_pAttribute, MNL_TYPE_U32) >= 0)
    {
        static_cast<Route*>(a_pRoute)->m_iInterface = static_cast<int>(mnl_attr_get_u32(a_pAttribute));
    }
    return MNL_CB_OK;
}

void note(const nlmsghdr& a_oMessage, int a_iWanted, std::optional<Route>& a_oFound)
{
    const auto& oHeader = *static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&a_oMessage));
    Route oRoute;
    oRoute.m_bDefault = oHeader.rtm_dst_len == 0;
    mnl_attr_parse(&a_oMessage, sizeof(rtmsg), findInterface, &oRoute);
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
    // The entry of the routing table and not what came of it: only that tells a default route, and an interface that
    // has no route to the address from one where the kernel tries its luck.
    oHeader.rtm_flags = RTM_F_FIB_MATCH;
    mnl_attr_put(&oRequest, RTA_DST, uiBytes, a_oAddress.m_auiBytes.data());
    if (a_iInterface != 0)
    {
        mnl_attr_put_u32(&oRequest, RTA_OIF, static_cast<std::uint32_t>(a_iInterface));
    }
    std::optional<Route> oFound;
    NetlinkSocket oSocket;
    const auto eAnswer =
        oSocket.ask(oRequest, [&](const nlmsghdr& a_oMessage) { note(a_oMessage, a_iInterface, oFound); });
    return eAnswer == NetlinkSocket::Answer::Ok ? oFound : std::nullopt;
}

} // namespace netifwatch
