#include "netifwatch/interface.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <tuple>

namespace netifwatch
{

namespace
{

constexpr std::size_t s_uiIPv4Bytes = 4;
constexpr std::size_t s_uiIPv6Bytes = 16;

bool isMappedIPv4(const IpAddress& a_oAddress)
{
    constexpr std::array<std::uint8_t, 12> auiPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
    return a_oAddress.m_iFamily == AF_INET6 &&
           std::equal(auiPrefix.begin(), auiPrefix.end(), a_oAddress.m_auiBytes.begin());
}

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

std::string toText(const IpAddress& a_oAddress)
{
    std::array<char, INET6_ADDRSTRLEN> acText = {};
    const char* pText = inet_ntop(a_oAddress.m_iFamily, a_oAddress.m_auiBytes.data(), acText.data(), acText.size());
    return pText != nullptr ? std::string(pText) : std::string();
}

std::optional<IpAddress> parseAddress(const std::string& a_strText)
{
    for (const int iFamily : {AF_INET, AF_INET6})
    {
        IpAddress oAddress;
        oAddress.m_iFamily = iFamily;
        if (inet_pton(iFamily, a_strText.c_str(), oAddress.m_auiBytes.data()) == 1)
        {
            return oAddress;
        }
    }
    return std::nullopt;
}

std::optional<IpAddress> makeAddress(int a_iFamily, const void* a_pBytes, std::size_t a_uiSize)
{
    const bool bFits =
        (a_iFamily == AF_INET && a_uiSize == s_uiIPv4Bytes) || (a_iFamily == AF_INET6 && a_uiSize == s_uiIPv6Bytes);
    if (!bFits)
    {
        return std::nullopt;
    }
    IpAddress oAddress;
    oAddress.m_iFamily = a_iFamily;
    std::memcpy(oAddress.m_auiBytes.data(), a_pBytes, a_uiSize);
    return oAddress;
}

bool isOfThisMachine(const IpAddress& a_oAddress)
{
    const auto& oBytes = a_oAddress.m_auiBytes;
    if (a_oAddress.m_iFamily == AF_INET)
    {
        return oBytes[0] == 127 || oBytes[0] == 0;
    }
    if (isMappedIPv4(a_oAddress))
    {
        return oBytes[12] == 127 || oBytes[12] == 0;
    }
    const bool bZeros =
        std::all_of(oBytes.begin(), oBytes.end() - 1, [](std::uint8_t a_uiByte) { return a_uiByte == 0; });
    return bZeros && oBytes.back() <= 1;
}

bool isLinkLocal(const IpAddress& a_oAddress)
{
    const auto& oBytes = a_oAddress.m_auiBytes;
    return a_oAddress.m_iFamily == AF_INET6 ? oBytes[0] == 0xfe && (oBytes[1] & 0xc0) == 0x80
                                            : oBytes[0] == 169 && oBytes[1] == 254;
}

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
