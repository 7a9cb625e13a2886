#include "netifwatch/ipaddress.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

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

} // namespace netifwatch
