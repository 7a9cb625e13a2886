#pragma once

#include <ares.h>
#include <poll.h>
#include <vector>

namespace quorvad
{

/// The sockets of one channel, of any number and with any descriptors. Told by c-ares on the thread that drives the
/// channel; must outlive it.
class ChannelSockets
{
public:
    ChannelSockets() = default;
    ChannelSockets(const ChannelSockets&) = delete;
    ChannelSockets& operator=(const ChannelSockets&) = delete;

    /// As ares_init, with this object told of every socket. Returns c-ares's status.
    [[nodiscard]] int init(ares_channel& a_pChannel);

    /// Waits once for the sockets, at most until c-ares's next timeout, and lets c-ares handle what happened;
    /// completion handlers run inside. False, without waiting, if the channel has no socket, and so no query.
    [[nodiscard]] bool drive(ares_channel a_pChannel);

private:
    static void onState(void* a_pThis, ares_socket_t a_iSocket, int a_iReadable, int a_iWritable) noexcept;
    void note(const pollfd& a_oSocket);

    std::vector<pollfd> m_oSockets;
};

} // namespace quorvad
