#pragma once

#include "platform/base/uniquefd.h"
#include "platform/common/deadline.h"
#include "platform/wire/frame.h"

#include <string>
#include <string_view>

#include <sys/types.h>

namespace vadro::cfg
{

/// One connected stream socket. Everything throws LinkError, after which the object is only good to be destroyed.
class UnixSocket
{
public:
    /// Connects without waiting: a listener whose queue is full is a failure, too.
    explicit UnixSocket(const std::string& a_strPath);

    [[nodiscard]] int getFd() const { return m_oFd.get(); }
    /// The user that the other end's process had when it began to listen.
    [[nodiscard]] uid_t getPeerUser() const;

    /// Sends everything; blocks until the deadline at most. Never raises SIGPIPE.
    void send(std::string_view a_strBytes, const platform::Deadline& a_oDeadline) const;
    /// Reads once what is there; false when nothing is. Never blocks.
    [[nodiscard]] bool receive(wire::FrameReader& a_oReader) const;
    /// Blocks until there is something to read.
    void waitReadable(const platform::Deadline& a_oDeadline) const;

private:
    void wait(short a_iEvents, const platform::Deadline& a_oDeadline) const;

    platform::UniqueFd m_oFd;
};

} // namespace vadro::cfg
