#include "cfgctl/account/reach.h"

#include <arpa/inet.h>
#include <array>
#include <cstdint>

namespace cfgctl
{

namespace
{

struct Range
{
    std::uint32_t m_uiFirst;
    unsigned m_uiBits;
    const char* m_pName;
};

constexpr std::array<Range, 6> s_oIPv4Ranges = {{{0x0a000000, 8, "private"},
                                                 {0xac100000, 12, "private"},
                                                 {0xc0a80000, 16, "private"},
                                                 {0x64400000, 10, "shared (the access provider translates it)"},
                                                 {0xa9fe0000, 16, "link-local"},
                                                 {0x7f000000, 8, "loopback"}}};

std::string nameUnreachableIPv4(const in_addr& a_oAddress)
{
    const std::uint32_t uiAddress = ntohl(a_oAddress.s_addr);
    for (const Range& oRange : s_oIPv4Ranges)
    {
        if ((uiAddress ^ oRange.m_uiFirst) >> (32 - oRange.m_uiBits) == 0)
        {
            return oRange.m_pName;
        }
    }
    return {};
}

std::string nameUnreachableIPv6(const in6_addr& a_oAddress)
{
    if ((a_oAddress.s6_addr[0] & 0xfe) == 0xfc)
    {
        return "unique local";
    }
    if (IN6_IS_ADDR_LINKLOCAL(&a_oAddress))
    {
        return "link-local";
    }
    return IN6_IS_ADDR_LOOPBACK(&a_oAddress) ? "loopback" : "";
}

} // namespace

std::string nameUnreachable(const std::string& a_strAddress)
{
    in_addr oIPv4 = {};
    if (inet_pton(AF_INET, a_strAddress.c_str(), &oIPv4) == 1)
    {
        return nameUnreachableIPv4(oIPv4);
    }
    in6_addr oIPv6 = {};
    return inet_pton(AF_INET6, a_strAddress.c_str(), &oIPv6) == 1 ? nameUnreachableIPv6(oIPv6) : std::string();
}

} // namespace cfgctl
