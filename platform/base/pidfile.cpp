#include "platform/base/pidfile.h"

#include "platform/base/io.h"
#include "platform/common/file.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr int s_iCreateFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

int writeNewFile(int a_iDirFd, const std::string& a_strName, std::string_view a_strText)
{
    UniqueFd oFile(::openat(a_iDirFd, a_strName.c_str(), s_iCreateFlags, 0644));
    if (!oFile.isOpen())
    {
        return errno;
    }
    // Readable for all, whatever the umask.
    const bool bWritten = fchmod(oFile.get(), 0644) == 0 && writeAll(oFile.get(), a_strText) && oFile.reset();
    return bWritten ? 0 : errno;
}

std::optional<char> readProcessState(pid_t a_iPid)
{
    const std::string strPath = "/proc/" + std::to_string(a_iPid) + "/stat";
    const UniqueFd oFile(::open(strPath.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 512> acBuffer{}; // command and state stand at the front
    const ssize_t iRead = oFile.isOpen() ? readOnce(oFile.get(), acBuffer.data(), acBuffer.size()) : -1;
    return iRead > 0 ? parseProcessState({acBuffer.data(), static_cast<std::size_t>(iRead)}) : std::nullopt;
}

} // namespace

std::optional<pid_t> parsePid(std::string_view a_strContents) noexcept
{
    if (a_strContents.size() < 2 || a_strContents.back() != '\n')
    {
        return std::nullopt;
    }
    const char* const pEnd = a_strContents.data() + a_strContents.size() - 1;
    pid_t iPid = 0;
    const auto [pStop, eError] = std::from_chars(a_strContents.data(), pEnd, iPid);
    if (eError != std::errc() || pStop != pEnd || iPid <= 0 || a_strContents.front() == '0')
    {
        return std::nullopt;
    }
    return iPid;
}

std::optional<pid_t> readPidFile(int a_iDirFd, const std::string& a_strName, int& a_iError)
{
    const UniqueFd oFile(openRegular(a_iDirFd, a_strName, O_NOFOLLOW));
    if (!oFile.isOpen())
    {
        a_iError = errno == ELOOP ? EINVAL : errno; // a link
        return std::nullopt;
    }
    std::array<char, 64> acBuffer{}; // a PID file never fills it
    const ssize_t iRead = readOnce(oFile.get(), acBuffer.data(), acBuffer.size());
    a_iError = iRead < 0 ? errno : 0;
    return iRead > 0 ? parsePid({acBuffer.data(), static_cast<std::size_t>(iRead)}) : std::nullopt;
}

int writePidFile(int a_iDirFd, const std::string& a_strName, pid_t a_iPid, bool a_bLocked)
{
    const std::string strTemporary = a_strName + ".new";
    if (a_bLocked)
    {
        unlinkat(a_iDirFd, strTemporary.c_str(), 0);
    }
    int iError = writeNewFile(a_iDirFd, strTemporary, std::to_string(a_iPid) + '\n');
    if (iError == EEXIST)
    {
        return EBUSY; // another process is at it; its file is not ours to remove
    }
    // Unlike a rename, a link never replaces the file of a process that was faster.
    if (iError == 0 && linkat(a_iDirFd, strTemporary.c_str(), a_iDirFd, a_strName.c_str(), 0) != 0)
    {
        iError = errno;
    }
    unlinkat(a_iDirFd, strTemporary.c_str(), 0);
    return iError;
}

std::optional<char> parseProcessState(std::string_view a_strContents)
{
    const std::size_t uiOpen = a_strContents.find(" (");
    const std::size_t uiClose = a_strContents.rfind(") ");
    if (uiOpen == std::string_view::npos || uiClose == std::string_view::npos || uiClose < uiOpen + 2 ||
        uiClose + 2 >= a_strContents.size())
    {
        return std::nullopt;
    }
    return a_strContents[uiClose + 2];
}

bool isRunning(pid_t a_iPid)
{
    if (kill(a_iPid, 0) != 0 && errno != EPERM) // EPERM: it lives, but belongs to somebody else
    {
        return false;
    }
    const char cState = readProcessState(a_iPid).value_or('?');
    return cState != 'Z' && cState != 'X';
}

} // namespace platform
