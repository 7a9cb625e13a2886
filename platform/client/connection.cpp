#include "platform/client/connection.h"

#include "platform/base/io.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform
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

bool isTrustedUser(uid_t a_uiUser)
{
    if (a_uiUser == 0 || a_uiUser == geteuid())
    {
        return true;
    }
    passwd oEntry{};
    passwd* pFound = nullptr;
    std::array<char, 4096> acStrings;
    const int iError = getpwnam_r(QUORVAD_SERVICE_USER, &oEntry, acStrings.data(), acStrings.size(), &pFound);
    return iError == 0 && pFound != nullptr && pFound->pw_uid == a_uiUser;
}

Connection::Connection(const std::string& a_strPath)
    : m_oFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    if (!m_oFd.isOpen())
    {
        throwSystemReason(errno);
    }
    if (!UnixAddress(a_strPath).connect(m_oFd.get()))
    {
        throwSystemReason(errno);
    }
}

uid_t Connection::getPeerUser() const
{
    ucred oPeer{};
    socklen_t uiSize = sizeof oPeer;
    if (::getsockopt(m_oFd.get(), SOL_SOCKET, SO_PEERCRED, &oPeer, &uiSize) != 0)
    {
        throwSystemReason(errno);
    }
    return oPeer.uid;
}

void Connection::send(std::string_view a_strBytes, const Deadline& a_oDeadline) const
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

bool Connection::receive()
{
    std::array<char, 16384> acBytes;
    const ssize_t iReceived = ::recv(m_oFd.get(), acBytes.data(), acBytes.size(), MSG_DONTWAIT);
    if (iReceived > 0)
    {
        m_oReader.feed(acBytes.data(), static_cast<std::size_t>(iReceived));
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

std::optional<wire::Message> Connection::take()
{
    std::string strPayload;
    switch (m_oReader.next(strPayload))
    {
    case wire::FrameReader::State::NeedMore:
        return std::nullopt;
    case wire::FrameReader::State::Broken:
        throw LinkError(wire::Result::Garbled,
                        "unreadable: a frame of " + std::to_string(m_oReader.getRefusedLength()) + " bytes announced");
    case wire::FrameReader::State::Payload:
        break;
    }
    try
    {
        return wire::decode(strPayload);
    }
    catch (const wire::DecodeError& e)
    {
        throw LinkError(wire::Result::Garbled, std::string("unreadable: ") + e.what());
    }
}

void Connection::waitReadable(const Deadline& a_oDeadline) const
{
    wait(POLLIN, a_oDeadline);
}

void Connection::wait(short a_iEvents, const Deadline& a_oDeadline) const
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

} // namespace platform
