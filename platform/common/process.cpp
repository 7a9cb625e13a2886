#include "platform/common/process.h"

#include <fcntl.h>
#include <initializer_list>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace platform
{

void occupyStandardDescriptors()
{
    for (const int iFd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (fcntl(iFd, F_GETFD) < 0)
        {
            // The lowest free number is this one.
            static_cast<void>(open("/dev/null", iFd == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

// The limit alone does not help where core files are piped to a program.
void keepMemoryPrivate()
{
    const rlimit oNone = {0, 0};
    setrlimit(RLIMIT_CORE, &oNone);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

} // namespace platform
