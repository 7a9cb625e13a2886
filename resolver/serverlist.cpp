#include "resolver/serverlist.h"

#include <ares.h>

namespace quorvad
{

// c-ares is asked, because only it knows which addresses it accepts.
bool isUsableServerList(const std::string& a_strNameservers)
{
    ares_channel pChannel = nullptr;
    if (ares_init(&pChannel) != ARES_SUCCESS)
    {
        return true; // nothing can be said of the list
    }
    const bool bTaken = ares_set_servers_csv(pChannel, a_strNameservers.c_str()) == ARES_SUCCESS;
    ares_destroy(pChannel);
    return bTaken;
}

} // namespace quorvad
