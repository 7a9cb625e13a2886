#include "platform/common/file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <tuple>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr int s_iReadFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY;

class OpenFile
{
public:
    explicit OpenFile(int a_iFd) : m_iFd(a_iFd) {}
    ~OpenFile()
    {
        if (m_iFd >= 0)
        {
            ::close(m_iFd);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    const int m_iFd;
};

int openAny(const std::string& a_strPath, bool a_bWait)
{
    const int iFd = ::open(a_strPath.c_str(), s_iReadFlags | (a_bWait ? 0 : O_NONBLOCK));
    if (iFd >= 0)
    {
        static_cast<void>(::fcntl(iFd, F_SETFL, 0)); // what was opened is waited for
    }
    return iFd;
}

std::string reasonOf(int a_iError)
{
    return std::generic_category().message(a_iError);
}

ssize_t readOnce(int a_iFd, char* a_pBytes, std::size_t a_uiSize)
{
    ssize_t iRead = -1;
    do
    {
        iRead = ::read(a_iFd, a_pBytes, a_uiSize);
    } while (iRead < 0 && errno == EINTR);
    return iRead;
}

} // namespace

bool FileContent::isAbsent() const
{
    return m_iError == ENOENT || m_iError == ENOTDIR;
}

int openRegular(int a_iDirFd, const std::string& a_strName, int a_iFlags)
{
    const int iFd = ::openat(a_iDirFd, a_strName.c_str(), s_iReadFlags | O_NONBLOCK | a_iFlags);
    struct stat oStatus = {};
    if (iFd >= 0 && ::fstat(iFd, &oStatus) == 0 && S_ISREG(oStatus.st_mode))
    {
        return iFd;
    }
    if (iFd >= 0)
    {
        ::close(iFd);
        errno = EINVAL;
    }
    errno = errno == ENXIO ? EINVAL : errno; // a socket
    return -1;
}

FileContent readToEnd(int a_iFd, std::size_t a_uiLimit)
{
    FileContent oContent;
    std::array<char, 16384> acBuffer{};
    ssize_t iRead = 0;
    while ((iRead = readOnce(a_iFd, acBuffer.data(), acBuffer.size())) > 0)
    {
        const std::size_t uiLeft = a_uiLimit - oContent.m_strBytes.size();
        oContent.m_strBytes.append(acBuffer.data(), std::min(uiLeft, static_cast<std::size_t>(iRead)));
        if (static_cast<std::size_t>(iRead) > uiLeft)
        {
            oContent.m_iError = EFBIG;
            oContent.m_strFailure = "it is larger than " + std::to_string(a_uiLimit) + " bytes";
            return oContent;
        }
    }
    if (iRead < 0)
    {
        oContent = {{}, reasonOf(errno), errno};
    }
    return oContent;
}

FileContent readFile(const std::string& a_strPath, std::size_t a_uiLimit, Input a_eInput)
{
    const bool bRegular = a_eInput == Input::Regular;
    const OpenFile oFile(bRegular ? openRegular(AT_FDCWD, a_strPath) : openAny(a_strPath, a_eInput == Input::Awaited));
    if (oFile.m_iFd >= 0)
    {
        return readToEnd(oFile.m_iFd, a_uiLimit);
    }
    const int iError = errno;
    return {{}, bRegular && iError == EINVAL ? "it is not a regular file" : reasonOf(iError), iError};
}

bool FileStamp::operator==(const FileStamp& a_oOther) const noexcept
{
    const auto toTuple = [](const FileStamp& a_oStamp)
    {
        return std::make_tuple(a_oStamp.m_uiDevice,
                               a_oStamp.m_uiNumber,
                               a_oStamp.m_iSize,
                               a_oStamp.m_oWritten.tv_sec,
                               a_oStamp.m_oWritten.tv_nsec,
                               a_oStamp.m_oChanged.tv_sec,
                               a_oStamp.m_oChanged.tv_nsec);
    };
    return toTuple(*this) == toTuple(a_oOther);
}

FileStamp stampOf(const char* a_pPath) noexcept
{
    struct stat oStatus = {};
    if (stat(a_pPath, &oStatus) != 0)
    {
        return {};
    }
    return {oStatus.st_dev, oStatus.st_ino, oStatus.st_size, oStatus.st_mtim, oStatus.st_ctim};
}

} // namespace platform
