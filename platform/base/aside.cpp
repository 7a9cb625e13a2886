#include "platform/base/aside.h"

#include "platform/common/log.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr char s_acLogFile[] = "aside";

/// A number that nobody can have taken before.
std::uint64_t makeNumber()
{
    std::uint64_t uiNumber = 0;
    if (::getrandom(&uiNumber, sizeof uiNumber, GRND_NONBLOCK) != sizeof uiNumber)
    {
        uiNumber = static_cast<std::uint64_t>(::getpid()) << 32U ^ static_cast<std::uint64_t>(::clock());
    }
    return uiNumber;
}

} // namespace

bool renameToFree(const std::string& a_strFrom, const std::string& a_strTo) noexcept
{
    // The call itself, because some C libraries have no function for it.
    if (::syscall(SYS_renameat2, AT_FDCWD, a_strFrom.c_str(), AT_FDCWD, a_strTo.c_str(), RENAME_NOREPLACE) == 0)
    {
        return true;
    }
    return (errno == EINVAL || errno == ENOSYS) && ::link(a_strFrom.c_str(), a_strTo.c_str()) == 0 &&
           ::unlink(a_strFrom.c_str()) == 0;
}

bool isOfStranger(const struct stat& a_oStatus) noexcept
{
    const bool bOtherName = !S_ISDIR(a_oStatus.st_mode) && a_oStatus.st_nlink > 1;
    return bOtherName || (a_oStatus.st_uid != ::geteuid() && a_oStatus.st_uid != 0);
}

bool mayMoveAside(const std::string& a_strPath, const struct stat& a_oStatus)
{
    const std::size_t uiSlash = a_strPath.rfind('/');
    const std::string strFolder = uiSlash == std::string::npos ? "." : a_strPath.substr(0, uiSlash + 1);
    struct stat oFolder = {};
    return isOfStranger(a_oStatus) && ::stat(strFolder.c_str(), &oFolder) == 0 && (oFolder.st_mode & S_ISVTX) != 0 &&
           (::geteuid() == 0 || ::geteuid() == oFolder.st_uid);
}

bool moveAside(const std::string& a_strPath, const struct stat& a_oStatus)
{
    const VAStr oAside("%s.aside-%016llx", a_strPath.c_str(), static_cast<unsigned long long>(makeNumber()));
    if (!renameToFree(a_strPath, std::string(oAside)))
    {
        return errno == ENOENT;
    }
    LOG_TO(VADRO_Sysloglevel_registerModul("quorvad"),
           warning,
           "%s of user %u was in the way: moved to %s",
           a_strPath.c_str(),
           static_cast<unsigned>(a_oStatus.st_uid),
           static_cast<const char*>(oAside));
    return true;
}

} // namespace platform
