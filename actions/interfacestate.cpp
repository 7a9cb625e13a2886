#include "actions/interfacestate.h"

#include "platform/common/log.h"

#include <cerrno>
#include <ifaddrs.h>
#include <memory>
#include <system_error>

namespace quorvad
{

constexpr char s_acLogFile[] = "interfacestate";

// The list has an interface once per address; one entry that is up and running is enough.
EInterfaceState readInterfaceState(const std::string& a_strInterface)
{
    ifaddrs* pFirst = nullptr;
    if (getifaddrs(&pFirst) != 0)
    {
        return EInterfaceState::eUnknown;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> pList(pFirst, freeifaddrs);
    EInterfaceState eState = EInterfaceState::eMissing;
    for (const ifaddrs* pEntry = pList.get(); pEntry != nullptr; pEntry = pEntry->ifa_next)
    {
        if (pEntry->ifa_addr != nullptr && a_strInterface == pEntry->ifa_name)
        {
            if ((pEntry->ifa_flags & g_uiRunningFlags) == g_uiRunningFlags)
            {
                return EInterfaceState::eRunning;
            }
            eState = EInterfaceState::eDown;
        }
    }
    return eState;
}

bool isInterfaceRunning(const std::string& a_strInterface)
{
    const EInterfaceState eState = readInterfaceState(a_strInterface);
    if (eState == EInterfaceState::eUnknown)
    {
        const int iError = errno;
        LOG_TO(VADRO_Sysloglevel_registerModul("quorvad"),
               warning,
               "Can't read the list of interfaces, so '%s' counts as down: %s",
               a_strInterface.c_str(),
               std::generic_category().message(iError).c_str());
    }
    return eState == EInterfaceState::eRunning;
}

} // namespace quorvad
