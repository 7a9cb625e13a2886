#include "cfgctl/account/names.h"

#include "actions/gnudipprotocol.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <net/if.h>
#include <netinet/in.h>
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

using Address = std::array<unsigned char, sizeof(in6_addr)>;

struct Range
{
    int m_iFamily;
    const char* m_pFirst;
    unsigned m_uiBits;
    const char* m_pName;
};

constexpr std::array<Range, 9> s_oUnreachable = {
    {{AF_INET, "10.0.0.0", 8, "private"},
     {AF_INET, "172.16.0.0", 12, "private"},
     {AF_INET, "192.168.0.0", 16, "private"},
     {AF_INET, "100.64.0.0", 10, "shared (the access provider translates it)"},
     {AF_INET, "169.254.0.0", 16, "link-local"},
     {AF_INET, "127.0.0.0", 8, "loopback"},
     {AF_INET6, "fc00::", 7, "unique local"},
     {AF_INET6, "fe80::", 10, "link-local"},
     {AF_INET6, "::1", 128, "loopback"}}};

bool isIn(const Range& a_oRange, const Address& a_oAddress)
{
    Address oFirst{};
    inet_pton(a_oRange.m_iFamily, a_oRange.m_pFirst, oFirst.data());
    for (unsigned uiBit = 0; uiBit < a_oRange.m_uiBits; ++uiBit)
    {
        const unsigned uiMask = 0x80U >> (uiBit % 8);
        const unsigned uiDifference = oFirst.at(uiBit / 8) ^ a_oAddress.at(uiBit / 8);
        if ((uiDifference & uiMask) != 0)
        {
            return false;
        }
    }
    return true;
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
    for (const Range& oRange : s_oUnreachable)
    {
        Address oAddress{};
        if (inet_pton(oRange.m_iFamily, a_strAddress.c_str(), oAddress.data()) == 1 && isIn(oRange, oAddress))
        {
            return oRange.m_pName;
        }
    }
    return {};
}

} // namespace cfgctl
