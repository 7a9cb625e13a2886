#include "platform/base/servicemanager.h"

#include "platform/base/errnoguard.h"
#include "platform/base/uniquefd.h"

#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

void reportReady() noexcept
{
    const ErrnoGuard oErrno;
    const std::string_view strPath = variable("NOTIFY_SOCKET");
    sockaddr_un oAddress = {};
    if (strPath.empty() || strPath.size() >= sizeof oAddress.sun_path)
    {
        return;
    }
    oAddress.sun_family = AF_UNIX;
    std::memcpy(oAddress.sun_path, strPath.data(), strPath.size());
    if (strPath.front() == '@')
    {
        oAddress.sun_path[0] = '\0'; // a name without a file
    }
    const auto uiSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + strPath.size());
    const UniqueFd oSocket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    constexpr std::string_view strWord = "READY=1";
    static_cast<void>(::sendto(oSocket.get(),
                               strWord.data(),
                               strWord.size(),
                               MSG_NOSIGNAL,
                               reinterpret_cast<const sockaddr*>(&oAddress),
                               uiSize));
}

} // namespace platform
