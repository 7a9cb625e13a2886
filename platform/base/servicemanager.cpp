#include "platform/base/servicemanager.h"

#include "platform/base/io.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{

namespace
{

std::string_view variable(const char* a_pName)
{
    const char* const pValue = std::getenv(a_pName); // NOLINT(concurrency-mt-unsafe): see the header
    return pValue != nullptr ? pValue : std::string_view();
}

} // namespace

bool isStandardErrorJournal() noexcept
{
    const ErrnoGuard oErrno;
    struct stat oStatus = {};
    if (fstat(STDERR_FILENO, &oStatus) != 0)
    {
        return false;
    }
    char acStream[64];
    std::snprintf(acStream,
                  sizeof acStream,
                  "%" PRIuMAX ":%" PRIuMAX,
                  static_cast<std::uintmax_t>(oStatus.st_dev),
                  static_cast<std::uintmax_t>(oStatus.st_ino));
    return variable("JOURNAL_STREAM") == acStream;
}

void reportReady()
{
    const ErrnoGuard oErrno;
    std::string strPath(variable("NOTIFY_SOCKET"));
    if (!strPath.empty() && strPath.front() == '@')
    {
        strPath.front() = '\0'; // a name without a file
    }
    const UniqueFd oSocket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (UnixAddress(strPath).connect(oSocket.get()))
    {
        constexpr std::string_view strWord = "READY=1";
        static_cast<void>(::send(oSocket.get(), strWord.data(), strWord.size(), MSG_NOSIGNAL));
    }
}

} // namespace platform
