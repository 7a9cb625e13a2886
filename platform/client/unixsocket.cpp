#include "platform/client/unixsocket.h"

#include "platform/base/io.h"
#include "platform/client/linkerror.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

namespace vadro::cfg
{

namespace
{

[[noreturn]] void throwSystemReason(int a_iErrno)
{
    throw LinkError(wire::Result::Disconnected, std::generic_category().message(a_iErrno));
}

bool isNothingYet(int a_iErrno)
{
    return a_iErrno == EAGAIN || a_iErrno == EWOULDBLOCK || a_iErrno == EINTR;
}

} // namespace

UnixSocket::UnixSocket(const std::string& a_strPath)
    : m_oFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    if (!m_oFd.isOpen())
    {
        throwSystemReason(errno);
    }
    if (!platform::UnixAddress(a_strPath).connect(m_oFd.get()))
    {
        throwSystemReason(errno);
    }
}

uid_t UnixSocket::getPeerUser() const
{
    ucred oPeer{};
    socklen_t uiSize = sizeof oPeer;
    if (::getsockopt(m_oFd.get(), SOL_SOCKET, SO_PEERCRED, &oPeer, &uiSize) != 0)
    {
        throwSystemReason(errno);
    }
    return oPeer.uid;
}

void UnixSocket::send(std::string_view a_strBytes, const platform::Deadline& a_oDeadline) const
{
    while (!a_strBytes.empty())
    {
        const ssize_t iSent = ::send(m_oFd.get(), a_strBytes.data(), a_strBytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (iSent >= 0)
        {
            a_strBytes.remove_prefix(static_cast<std::size_t>(iSent));
        }
        else if (isNothingYet(errno))
        {
            wait(POLLOUT, a_oDeadline);
        }
        else
        {
            throwSystemReason(errno);
        }
    }
}

bool UnixSocket::receive(wire::FrameReader& a_oReader) const
{
    std::array<char, 16384> acBytes;
    const ssize_t iReceived = ::recv(m_oFd.get(), acBytes.data(), acBytes.size(), MSG_DONTWAIT);
    if (iReceived > 0)
    {
        a_oReader.feed(acBytes.data(), static_cast<std::size_t>(iReceived));
        return true;
    }
    if (iReceived == 0)
    {
        throw LinkError(wire::Result::Disconnected, "closed by the service");
    }
    if (!isNothingYet(errno))
    {
        throwSystemReason(errno);
    }
    return false;
}

void UnixSocket::waitReadable(const platform::Deadline& a_oDeadline) const
{
    wait(POLLIN, a_oDeadline);
}

void UnixSocket::wait(short a_iEvents, const platform::Deadline& a_oDeadline) const
{
    if (a_oDeadline.hasPassed())
    {
        throw LinkError(wire::Result::TimedOut, "no answer in time");
    }
    pollfd oPoll{m_oFd.get(), a_iEvents, 0};
    // Errors and hang-ups show at the next send or receive, a signal ends in the next look at the deadline.
    if (::poll(&oPoll, 1, a_oDeadline.getRemainingMs()) < 0 && errno != EINTR)
    {
        throwSystemReason(errno);
    }
}

} // namespace vadro::cfg
