#include "netifwatch/addresschoice.h"

#include "netifwatch/ipaddress.h"

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <sys/socket.h>
#include <tuple>

namespace netifwatch
{

namespace
{

constexpr std::uint32_t s_uiUnfitIPv6 =
    IFA_F_TEMPORARY | IFA_F_DEPRECATED | IFA_F_TENTATIVE | IFA_F_OPTIMISTIC | IFA_F_DADFAILED;

bool isCandidate(const InterfaceAddress& a_oAddress, int a_iFamily, std::uint32_t a_uiUnfit)
{
    return a_oAddress.m_oAddress.m_iFamily == a_iFamily && a_oAddress.m_uiScope == RT_SCOPE_UNIVERSE &&
           (a_oAddress.m_uiFlags & a_uiUnfit) == 0 && !isLinkLocal(a_oAddress.m_oAddress) &&
           !isOfThisMachine(a_oAddress.m_oAddress);
}

/// The lower, the better.
int rank(const IpAddress& a_oAddress)
{
    const auto& oBytes = a_oAddress.m_auiBytes;
    if ((oBytes[0] & 0xfe) == 0xfc)
    {
        return 2; // fc00::/7, unique-local
    }
    const bool b6to4 = oBytes[0] == 0x20 && oBytes[1] == 0x02;
    const bool bTeredo = oBytes[0] == 0x20 && oBytes[1] == 0x01 && oBytes[2] == 0 && oBytes[3] == 0;
    return b6to4 || bTeredo ? 1 : 0;
}

std::string firstIPv4(const Interface& a_oInterface, std::uint32_t a_uiUnfit)
{
    for (const InterfaceAddress& oAddress : a_oInterface.m_oAddresses)
    {
        if (isCandidate(oAddress, AF_INET, a_uiUnfit))
        {
            return toText(oAddress.m_oAddress);
        }
    }
    return {};
}

} // namespace

std::string chooseIPv4(const Interface& a_oInterface)
{
    const std::string strBest = firstIPv4(a_oInterface, IFA_F_SECONDARY | IFA_F_DEPRECATED);
    return strBest.empty() ? firstIPv4(a_oInterface, IFA_F_SECONDARY) : strBest;
}

std::string chooseIPv6(const Interface& a_oInterface, const std::string& a_strPresent)
{
    const std::optional<IpAddress> oPresent = parseAddress(a_strPresent);
    const IpAddress* pBest = nullptr;
    const auto oKey = [&](const IpAddress& a_oAddress)
    { return std::make_tuple(rank(a_oAddress), oPresent == a_oAddress ? 0 : 1, a_oAddress.m_auiBytes); };
    for (const InterfaceAddress& oAddress : a_oInterface.m_oAddresses)
    {
        if (isCandidate(oAddress, AF_INET6, s_uiUnfitIPv6) &&
            (pBest == nullptr || oKey(oAddress.m_oAddress) < oKey(*pBest)))
        {
            pBest = &oAddress.m_oAddress;
        }
    }
    return pBest != nullptr ? toText(*pBest) : std::string();
}

} // namespace netifwatch
