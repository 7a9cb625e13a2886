#pragma once

#include "platform/client/unixsocket.h"
#include "platform/wire/frame.h"
#include "platform/wire/message.h"

#include <optional>
#include <string>

namespace vadro::cfg
{

/// Messages over one connected socket. Everything throws LinkError when the connection is no good any more.
class MessageStream
{
public:
    /// Connects without waiting.
    explicit MessageStream(const std::string& a_strPath) : m_oSocket(a_strPath) {}

    [[nodiscard]] const UnixSocket& getSocket() const { return m_oSocket; }

    /// Reads once what is there; false when nothing is. Never blocks.
    [[nodiscard]] bool receive() { return m_oSocket.receive(m_oReader); }
    /// The next whole message of what was received.
    [[nodiscard]] std::optional<wire::Message> take();

private:
    UnixSocket m_oSocket;
    wire::FrameReader m_oReader;
};

} // namespace vadro::cfg
