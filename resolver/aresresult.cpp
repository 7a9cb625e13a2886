#include "resolver/aresresult.h"

#include <ares.h>
#include <netdb.h>

namespace quorvad
{

int toGetaddrinfoCode(int a_iAresStatus)
{
    switch (a_iAresStatus)
    {
    case ARES_ENODATA:
    case ARES_ENOTFOUND:
    case ARES_EBADNAME:
        return EAI_NONAME;
    case ARES_ENOTIMP:
        return EAI_FAMILY;
    case ARES_ENOMEM:
        return EAI_MEMORY;
    case ARES_EDESTRUCTION:
        return EAI_FAIL;
    default:
        return EAI_SYSTEM;
    }
}

} // namespace quorvad
