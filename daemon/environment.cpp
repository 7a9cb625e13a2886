#include "daemon/environment.h"

#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>

namespace quorvad
{

void cleanEnvironment()
{
    for (const char* pName : {"http_proxy",
                              "https_proxy",
                              "HTTPS_PROXY",
                              "all_proxy",
                              "ALL_PROXY",
                              "no_proxy",
                              "NO_PROXY",
                              "SSLKEYLOGFILE"})
    {
        unsetenv(pName); // NOLINT(concurrency-mt-unsafe): no other thread yet
    }
}

void raiseDescriptorLimit()
{
    rlimit oLimit = {};
    if (getrlimit(RLIMIT_NOFILE, &oLimit) == 0 && oLimit.rlim_cur != oLimit.rlim_max)
    {
        oLimit.rlim_cur = oLimit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &oLimit);
    }
}

void useOneHeap()
{
#ifdef M_ARENA_MAX
    mallopt(M_ARENA_MAX, 1); // NOLINT(concurrency-mt-unsafe): no other thread yet
#endif
}

void useSmallStacks()
{
#ifdef __GLIBC__
    constexpr std::size_t uiBytes = std::size_t{1024} * 1024;
    pthread_attr_t oAttributes;
    if (pthread_attr_init(&oAttributes) == 0)
    {
        if (pthread_attr_setstacksize(&oAttributes, uiBytes) == 0)
        {
            pthread_setattr_default_np(&oAttributes);
        }
        pthread_attr_destroy(&oAttributes);
    }
#endif
}

void returnFreeMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

} // namespace quorvad
