#include "cfgctl/account/localinterfaces.h"

#include <arpa/inet.h>
#include <array>
#include <ifaddrs.h>
#include <memory>
#include <netinet/in.h>

namespace cfgctl
{

namespace
{

std::string textOf(const sockaddr* a_pAddress)
{
    const void* pBytes = nullptr;
    if (a_pAddress->sa_family == AF_INET)
    {
        pBytes = &reinterpret_cast<const sockaddr_in*>(a_pAddress)->sin_addr;
    }
    else if (a_pAddress->sa_family == AF_INET6)
    {
        pBytes = &reinterpret_cast<const sockaddr_in6*>(a_pAddress)->sin6_addr;
    }
    std::array<char, INET6_ADDRSTRLEN> acText{};
    const bool bText =
        pBytes != nullptr && inet_ntop(a_pAddress->sa_family, pBytes, acText.data(), acText.size()) != nullptr;
    return bText ? acText.data() : std::string();
}

} // namespace

LocalInterfaces readLocalInterfaces()
{
    LocalInterfaces oInterfaces;
    ifaddrs* pFirst = nullptr;
    if (getifaddrs(&pFirst) != 0)
    {
        return oInterfaces;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> pList(pFirst, freeifaddrs);
    for (const ifaddrs* pEntry = pList.get(); pEntry != nullptr; pEntry = pEntry->ifa_next)
    {
        LocalInterface& oInterface = oInterfaces[pEntry->ifa_name];
        if (pEntry->ifa_addr == nullptr)
        {
            continue; // an interface without any address is missing for the daemon
        }
        const bool bRunning = (pEntry->ifa_flags & quorvad::g_uiRunningFlags) == quorvad::g_uiRunningFlags;
        oInterface.m_eState = bRunning ? quorvad::EInterfaceState::eRunning : quorvad::EInterfaceState::eDown;
        const std::string strAddress = textOf(pEntry->ifa_addr);
        if (!strAddress.empty())
        {
            oInterface.m_oAddresses.push_back(strAddress);
        }
    }
    return oInterfaces;
}

} // namespace cfgctl
