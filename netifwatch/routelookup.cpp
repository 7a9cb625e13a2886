#include "netifwatch/routelookup.h"

#include "netifwatch/netlinksocket.h"

#include <array>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace netifwatch
{

namespace
{

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
