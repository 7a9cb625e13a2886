#include "cfgctl/account/names.h"

#include "cfgctl/utf8.h"

#include <algorithm>
#include <net/if.h>
#include <string_view>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiLongestName = 253;
constexpr std::size_t s_uiLongestLabel = 63;

bool isControl(char a_cCharacter)
{
    return static_cast<unsigned char>(a_cCharacter) < 0x20 || a_cCharacter == 0x7f;
}

bool isLabelCharacter(char a_cCharacter)
{
    return (a_cCharacter >= 'a' && a_cCharacter <= 'z') || (a_cCharacter >= 'A' && a_cCharacter <= 'Z') ||
           (a_cCharacter >= '0' && a_cCharacter <= '9') || a_cCharacter == '-' || a_cCharacter == '_';
}

std::string findLabelFault(std::string_view a_strLabel)
{
    if (a_strLabel.empty())
    {
        return "has an empty part between its dots";
    }
    if (a_strLabel.size() > s_uiLongestLabel)
    {
        return "has a part of more than 63 characters";
    }
    if (a_strLabel.front() == '-' || a_strLabel.back() == '-')
    {
        return "has a part that begins or ends with '-'";
    }
    if (!std::all_of(a_strLabel.begin(), a_strLabel.end(), isLabelCharacter))
    {
        return "may have only letters, digits, '-' and '_' between its dots";
    }
    return {};
}

} // namespace

std::string findHostFault(const std::string& a_strHost)
{
    if (a_strHost.empty() || a_strHost.size() > s_uiLongestName)
    {
        return a_strHost.empty() ? "is empty" : "is longer than 253 characters";
    }
    if (std::any_of(a_strHost.begin(), a_strHost.end(), [](char a_c) { return (a_c & 0x80) != 0; }))
    {
        return "must be in its ASCII form, which begins with xn--";
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
        return a_strName.empty() ? "is empty" : "is longer than the 15 bytes of an interface's name";
    }
    const bool bOdd = std::any_of(a_strName.begin(),
                                  a_strName.end(),
                                  [](char a_c) { return a_c == '/' || a_c == ':' || a_c == ' ' || isControl(a_c); });
    if (bOdd || a_strName == "." || a_strName == ".." || !isUtf8(a_strName))
    {
        return "is no name that an interface can have; 'ip link' lists them";
    }
    return {};
}

std::string findServerFault(const std::string& a_strServer)
{
    if (a_strServer.find(':') != std::string::npos)
    {
        return "must be a plain name or IPv4 address: the port is always 3495";
    }
    return a_strServer.find('*') == std::string::npos ? findHostFault(a_strServer) : "must be one server's name";
}

std::string findTextFault(const std::string& a_strText)
{
    if (!isUtf8(a_strText))
    {
        return "isn't UTF-8";
    }
    return std::any_of(a_strText.begin(), a_strText.end(), isControl) ? "has a control character in it" : "";
}

} // namespace cfgctl
