#include "cfgserver/servicesocket.h"

#include "cfgserver/admission.h"
#include "platform/base/aside.h"
#include "platform/base/io.h"
#include "platform/client/connection.h"
#include "platform/common/log.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "servicesocket";

using platform::UniqueFd;
using platform::UnixAddress;

constexpr int s_iBacklog = 64;
constexpr int s_iTries = 20; // to take the path, when somebody always is faster

[[noreturn]] void fail(const std::string& a_strPath, const std::string& a_strReason)
{
    throw std::runtime_error("socket " + a_strPath + ": " + a_strReason);
}

[[noreturn]] void failWith(const std::string& a_strPath, const char* a_pWhat, int a_iError)
{
    fail(a_strPath, std::string(a_pWhat) + ": " + std::generic_category().message(a_iError));
}

UnixAddress makeAddress(const std::string& a_strPath)
{
    const UnixAddress oAddress(a_strPath);
    if (!oAddress.isValid())
    {
        fail(a_strPath, "the path must be 1 to " + std::to_string(UnixAddress::s_uiMaxPath) + " bytes long");
    }
    return oAddress;
}

int makeSocket(const std::string& a_strPath)
{
    const int iFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (iFd < 0)
    {
        failWith(a_strPath, "cannot be created", errno);
    }
    return iFd;
}

/// None when there is nothing.
std::optional<struct stat> inspect(const std::string& a_strPath)
{
    struct stat oStatus = {};
    if (::lstat(a_strPath.c_str(), &oStatus) == 0)
    {
        return oStatus;
    }
    if (errno != ENOENT)
    {
        failWith(a_strPath, "cannot be inspected", errno);
    }
    return std::nullopt;
}

/// A socket may have several names: its process need not be one that listens here.
bool isSocket(const struct stat& a_oStatus)
{
    return S_ISSOCK(a_oStatus.st_mode) && a_oStatus.st_nlink == 1;
}

/// The user and process behind the path; none when nobody listens there. A stranger's link is not followed, nor one
/// that takes the place of a socket meanwhile: they may lead to anybody's.
std::optional<Peer> findListener(const std::string& a_strPath)
{
    const UniqueFd oProbe(makeSocket(a_strPath));
    const UnixAddress oAddress = makeAddress(a_strPath);
    const auto oStatus = inspect(a_strPath);
    if (!oStatus || (platform::isOfStranger(*oStatus) && !isSocket(*oStatus)))
    {
        return std::nullopt;
    }
    if (oAddress.connect(oProbe.get()))
    {
        const auto oNow = inspect(a_strPath);
        const bool bSame = oNow && oNow->st_dev == oStatus->st_dev && oNow->st_ino == oStatus->st_ino;
        return bSame ? std::make_optional(readPeer(oProbe.get())) : std::nullopt;
    }
    if (errno == EAGAIN)
    {
        return Peer{0, oStatus->st_uid, oStatus->st_gid}; // its queue is full: the socket's owner is known at least
    }
    if (errno == EPROTOTYPE && platform::mayMoveAside(a_strPath, *oStatus))
    {
        return std::nullopt; // no service, whatever it is
    }
    if (errno != ECONNREFUSED && errno != ENOENT)
    {
        failWith(a_strPath, "cannot tell whether it is in use", errno);
    }
    return std::nullopt;
}

/// In a folder that everybody may write to, anybody could keep root's service from starting. Clients do not trust such
/// a listener.
bool isSquatter(const Peer& a_oPeer)
{
    return ::geteuid() == 0 && !platform::isTrustedUser(a_oPeer.m_uiUser);
}

/// Returns a listener that root may replace, throws for any other.
std::optional<Peer> checkNobodyListens(const std::string& a_strPath)
{
    const std::optional<Peer> oListener = findListener(a_strPath);
    if (!oListener || isSquatter(*oListener))
    {
        return oListener;
    }
    if (oListener->m_iPid == 0)
    {
        fail(a_strPath, "in use by a process that is too busy to answer; stop it first");
    }
    fail(a_strPath, "in use by process " + std::to_string(oListener->m_iPid) + "; stop it first");
}

void warnOfSquatter(const std::string& a_strPath, const Peer& a_oListener)
{
    LOG_TO(VADRO_Sysloglevel_registerModul("cfgserver"),
           warning,
           "Another user's process was listening on %s (%s): its socket is replaced",
           a_strPath.c_str(),
           a_oListener.describe().c_str());
}

void removeStale(const std::string& a_strPath)
{
    const auto oStatus = inspect(a_strPath);
    if (!oStatus)
    {
        return;
    }
    if (!isSocket(*oStatus))
    {
        if (platform::mayMoveAside(a_strPath, *oStatus) && platform::moveAside(a_strPath, *oStatus))
        {
            return;
        }
        fail(a_strPath, "path exists and is not a socket; remove it or choose another path");
    }
    if (const auto oSquatter = checkNobodyListens(a_strPath))
    {
        warnOfSquatter(a_strPath, *oSquatter);
    }
    if (oStatus->st_uid != ::geteuid() && ::geteuid() != 0)
    {
        fail(a_strPath, "a stale socket of user " + std::to_string(oStatus->st_uid) + " is in the way; remove it");
    }
    if (::unlink(a_strPath.c_str()) != 0 && errno != ENOENT)
    {
        failWith(a_strPath, "cannot remove a stale socket", errno);
    }
}

/// The lock of the path. Throws with the process that answers there, which says more than the lock that it holds.
std::string lockName(const std::string& a_strPath)
{
    static_cast<void>(checkNobodyListens(a_strPath));
    return a_strPath + ".lock";
}

} // namespace

ServiceSocket::ServiceSocket(const std::string& a_strPath, std::optional<gid_t> a_oGroup)
    : m_strPath(a_strPath), m_oGroup(a_oGroup), m_oLock(lockName(a_strPath), 0), m_oSocket(makeSocket(a_strPath))
{
    if (!m_oLock.isHeld())
    {
        throw std::runtime_error(m_oLock.getFailure());
    }
    try
    {
        takePath();
        listen();
    }
    catch (...)
    {
        removeOurs();
        throw;
    }
}

void ServiceSocket::takePath()
{
    const UnixAddress oAddress = makeAddress(m_strPath);
    // The path gets the socket's own mode, less the umask: never more than this.
    if (::fchmod(m_oSocket.get(), S_IRUSR | S_IWUSR) != 0)
    {
        failWith(m_strPath, "cannot make it private", errno);
    }
    for (int iTry = 1; removeStale(m_strPath), !oAddress.bind(m_oSocket.get()); ++iTry)
    {
        if (errno != EADDRINUSE)
        {
            failWith(m_strPath, "cannot bind to it", errno);
        }
        if (iTry >= s_iTries)
        {
            fail(m_strPath, "other processes keep putting something in its place; end them");
        }
    }
    struct stat oStatus = {};
    if (::lstat(m_strPath.c_str(), &oStatus) != 0)
    {
        failWith(m_strPath, "cannot be inspected", errno);
    }
    m_uiDevice = oStatus.st_dev;
    m_uiInode = oStatus.st_ino;
}

void ServiceSocket::listen()
{
    if (m_oGroup && (::lchown(m_strPath.c_str(), static_cast<uid_t>(-1), *m_oGroup) != 0 ||
                     ::chmod(m_strPath.c_str(), S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP) != 0))
    {
        failWith(m_strPath, "cannot give it to the group", errno);
    }
    if (::listen(m_oSocket.get(), s_iBacklog) != 0)
    {
        failWith(m_strPath, "cannot listen on it", errno);
    }
}

void ServiceSocket::removeOurs() noexcept
{
    struct stat oStatus = {};
    if (m_uiInode != 0 && ::lstat(m_strPath.c_str(), &oStatus) == 0 && oStatus.st_dev == m_uiDevice &&
        oStatus.st_ino == m_uiInode)
    {
        ::unlink(m_strPath.c_str());
    }
}

ServiceSocket::~ServiceSocket()
{
    removeOurs();
}

} // namespace cfgserver
