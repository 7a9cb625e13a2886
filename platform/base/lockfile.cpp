#include "platform/base/lockfile.h"

#include "platform/base/aside.h"
#include "platform/common/deadline.h"

#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr int s_iTries = 20; // somebody who always is faster does not keep us for ever
constexpr std::chrono::milliseconds s_oPause{10};

/// O_CREAT only together with O_EXCL: the kernel refuses root O_CREAT on the file of another user in a sticky folder.
int openOrCreate(const std::string& a_strFile)
{
    constexpr int iFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    const int iFd = ::open(a_strFile.c_str(), iFlags);
    if (iFd >= 0 || errno != ENOENT)
    {
        return iFd;
    }
    return ::open(a_strFile.c_str(), iFlags | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
}

bool isOurs(const struct stat& a_oStatus)
{
    return S_ISREG(a_oStatus.st_mode) && a_oStatus.st_uid == ::geteuid() && a_oStatus.st_nlink <= 1;
}

/// False if the path now names another file: the previous holder removed this one.
bool isStillAt(const std::string& a_strFile, const struct stat& a_oStatus)
{
    struct stat oNow = {};
    return ::lstat(a_strFile.c_str(), &oNow) == 0 && oNow.st_dev == a_oStatus.st_dev && oNow.st_ino == a_oStatus.st_ino;
}

} // namespace

LockFile::LockFile(const std::string& a_strFile, int a_iLimitMs) : m_strFile(a_strFile)
{
    const Deadline oEnd{std::chrono::milliseconds(a_iLimitMs)};
    int iChanges = 0;
    for (Outcome eOutcome = tryOnce(); eOutcome != Outcome::Held && eOutcome != Outcome::Refused; eOutcome = tryOnce())
    {
        const bool bLate = oEnd.hasPassed();
        if (eOutcome == Outcome::Again && ++iChanges > s_iTries && bLate)
        {
            refuse("other processes keep creating and removing it");
            return;
        }
        if (eOutcome == Outcome::Busy && bLate)
        {
            refuse("held by another process");
            return;
        }
        if (eOutcome == Outcome::Busy)
        {
            std::this_thread::sleep_for(s_oPause);
        }
    }
}

LockFile::~LockFile()
{
    if (isHeld())
    {
        ::unlink(m_strFile.c_str());
    }
}

LockFile::Outcome LockFile::refuse(const std::string& a_strReason)
{
    m_strFailure = "lock file " + m_strFile + ": " + a_strReason;
    return Outcome::Refused;
}

LockFile::Outcome LockFile::replaceForeign(int a_iError)
{
    struct stat oStatus = {};
    if (::lstat(m_strFile.c_str(), &oStatus) != 0 || isOurs(oStatus))
    {
        return refuse(std::generic_category().message(a_iError));
    }
    const bool bRoot = ::geteuid() == 0 && (oStatus.st_uid != 0 || S_ISREG(oStatus.st_mode));
    if ((bRoot || mayMoveAside(m_strFile, oStatus)) && moveAside(m_strFile, oStatus))
    {
        return Outcome::Again;
    }
    return refuse("exists and is not a regular file of this user, or has several links (its owner has uid " +
                  std::to_string(oStatus.st_uid) + "); remove it");
}

LockFile::Outcome LockFile::tryOnce()
{
    UniqueFd oFile(openOrCreate(m_strFile));
    struct stat oStatus = {};
    if (!oFile.isOpen() || ::fstat(oFile.get(), &oStatus) != 0)
    {
        return errno == EEXIST ? Outcome::Again : replaceForeign(errno);
    }
    if (!isOurs(oStatus))
    {
        return replaceForeign(EPERM);
    }
    if (::flock(oFile.get(), LOCK_EX | LOCK_NB) != 0)
    {
        const bool bBusy = errno == EWOULDBLOCK || errno == EINTR;
        return bBusy ? Outcome::Busy : refuse(std::generic_category().message(errno));
    }
    if (!isStillAt(m_strFile, oStatus))
    {
        return Outcome::Again;
    }
    m_oFile = std::move(oFile);
    return Outcome::Held;
}

} // namespace platform
