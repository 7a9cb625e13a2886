#include "actions/interfacestate.h"

#include "vadro/sysloglevel.h"

#include <cerrno>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <system_error>

namespace quorvad
{

bool isInterfaceRunning(const std::string& a_strInterface)
{
    ifaddrs* pFirst = nullptr;
    if (getifaddrs(&pFirst) != 0)
    {
        const int iError = errno;
        VADRO_Sysloglevel_warning(VADRO_Sysloglevel_registerModul("quorvad"),
                                  "interfacestate",
                                  __LINE__,
                                  VAStr("Can't read the list of interfaces, so '%s' counts as down: %s",
                                        a_strInterface.c_str(),
                                        std::generic_category().message(iError).c_str()));
        return false;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> pList(pFirst, freeifaddrs);
    constexpr unsigned uiWanted = IFF_UP | IFF_RUNNING;
    for (const ifaddrs* pEntry = pList.get(); pEntry != nullptr; pEntry = pEntry->ifa_next)
    {
        if (pEntry->ifa_addr != nullptr && a_strInterface == pEntry->ifa_name &&
            (pEntry->ifa_flags & uiWanted) == uiWanted)
        {
            return true;
        }
    }
    return false;
}

} // namespace quorvad
