#pragma once

#include "platform/base/uniquefd.h"
#include "platform/common/deadline.h"
#include "platform/wire/frame.h"
#include "platform/wire/message.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace platform
{

/// The connection cannot be used any more: the result for the call that met it, and the reason in a few words.
/// NoAccess says that the service's user is not trusted; the reason is then that user's number.
class LinkError : public std::runtime_error
{
public:
    LinkError(wire::Result a_eResult, const std::string& a_strReason)
        : std::runtime_error(a_strReason), m_eResult(a_eResult)
    {
    }
    [[nodiscard]] wire::Result getResult() const { return m_eResult; }

private:
    wire::Result m_eResult;
};

/// Whether a process of that user may be the configuration service: root, our own effective user, or the user that the
/// build names for the service. The socket stands in a folder where anyone may create one. May block as long as the
/// user database does.
[[nodiscard]] bool isTrustedUser(uid_t a_uiUser);

/// Messages over one connected stream socket. Everything throws LinkError, after which the object is only good to be
/// destroyed.
class Connection
{
public:
    /// Connects without waiting: a listener whose queue is full is a failure, too.
    explicit Connection(const std::string& a_strPath);

    [[nodiscard]] int getFd() const { return m_oFd.get(); }
    /// The user that the other end's process had when it began to listen.
    [[nodiscard]] uid_t getPeerUser() const;

    /// Sends everything; blocks until the deadline at most. Never raises SIGPIPE.
    void send(std::string_view a_strBytes, const Deadline& a_oDeadline) const;
    /// Reads once what is there; false when nothing is. Never blocks.
    [[nodiscard]] bool receive();
    /// The next whole message of what was received.
    [[nodiscard]] std::optional<wire::Message> take();
    /// Blocks until there is something to read.
    void waitReadable(const Deadline& a_oDeadline) const;

private:
    void wait(short a_iEvents, const Deadline& a_oDeadline) const;

    UniqueFd m_oFd;
    wire::FrameReader m_oReader;
};

} // namespace platform
