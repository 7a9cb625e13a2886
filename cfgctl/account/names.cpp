#include "cfgctl/account/names.h"

#include "actions/gnudipprotocol.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <cstdint>
#include <net/if.h>
#include <string_view>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiLongestName = 253;
constexpr std::size_t s_uiLongestLabel = 63;

bool isControl(unsigned char a_cCharacter)
{
    return std::iscntrl(a_cCharacter) != 0;
}

bool isLabelCharacter(unsigned char a_cCharacter)
{
    return std::isalnum(a_cCharacter) != 0 || a_cCharacter == '-' || a_cCharacter == '_';
}

std::string findLabelFault(std::string_view a_strLabel)
{
    if (a_strLabel.empty())
    {
        return "has an empty label";
    }
    if (a_strLabel.size() > s_uiLongestLabel)
    {
        return "has a label longer than " + std::to_string(s_uiLongestLabel) + " characters";
    }
    if (a_strLabel.front() == '-' || a_strLabel.back() == '-')
    {
        return "has a label that begins or ends with '-'";
    }
    if (!std::all_of(a_strLabel.begin(), a_strLabel.end(), isLabelCharacter))
    {
        return "may contain only letters, digits, '-' and '_' between its dots";
    }
    return {};
}

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

std::string findHostFault(const std::string& a_strHost)
{
    if (a_strHost.empty() || a_strHost.size() > s_uiLongestName)
    {
        return a_strHost.empty() ? "is empty" : "is longer than " + std::to_string(s_uiLongestName) + " characters";
    }
    if (std::any_of(a_strHost.begin(), a_strHost.end(), [](char a_c) { return (a_c & 0x80) != 0; }))
    {
        return "must be in its ASCII form (xn--...)";
    }
    if (a_strHost.find("://") != std::string::npos)
    {
        return "is a URL; give the name alone";
    }
    std::string_view strRest = a_strHost;
    if (strRest.substr(0, 2) == "*.")
    {
        strRest.remove_prefix(2);
    }
    while (true)
    {
        const std::size_t uiDot = strRest.find('.');
        std::string strFault = findLabelFault(strRest.substr(0, uiDot));
        if (!strFault.empty() || uiDot == std::string_view::npos)
        {
            return strFault;
        }
        strRest.remove_prefix(uiDot + 1);
    }
}

std::string findInterfaceFault(const std::string& a_strName)
{
    if (a_strName.empty() || a_strName.size() >= IFNAMSIZ)
    {
        return a_strName.empty() ? "is empty" : "is longer than " + std::to_string(IFNAMSIZ - 1) + " bytes";
    }
    const bool bControl = std::any_of(a_strName.begin(), a_strName.end(), isControl);
    if (bControl || a_strName.find_first_of("/: ") != std::string::npos || a_strName == "." || a_strName == ".." ||
        !platform::isUtf8(a_strName))
    {
        return "is not a valid interface name; 'ip link' lists the interfaces";
    }
    return {};
}

std::string findServerFault(const std::string& a_strServer)
{
    if (a_strServer.find(':') != std::string::npos)
    {
        return "must be a plain name or IPv4 address: the port is always " + std::to_string(quorvad::g_uiGnudipPort);
    }
    return a_strServer.find('*') == std::string::npos ? findHostFault(a_strServer) : "must be one server's name";
}

std::string findTextFault(const std::string& a_strText)
{
    if (!platform::isUtf8(a_strText))
    {
        return "is not UTF-8";
    }
    return std::any_of(a_strText.begin(), a_strText.end(), isControl) ? "contains a control character" : "";
}

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
