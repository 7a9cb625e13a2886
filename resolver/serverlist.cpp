#include "resolver/serverlist.h"

#include <ares.h>

namespace quorvad
{

// Asked rather than parsed: what counts as an address is c-ares's rule.
bool isUsableServerList(const std::string& a_strNameservers)
{
    ares_channel pChannel = nullptr;
    if (ares_init(&pChannel) != ARES_SUCCESS)
    {
        return false;
    }
    const bool bTaken = ares_set_servers_csv(pChannel, a_strNameservers.c_str()) == ARES_SUCCESS;
    ares_destroy(pChannel);
    return bTaken;
}

} // namespace quorvad
