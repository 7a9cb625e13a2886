#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

struct mnl_socket;
struct nlmsghdr;

namespace netifwatch
{

/// A conversation with the kernel's routing subsystem. One thread. No privilege is needed.
class NetlinkSocket
{
public:
    enum class Answer
    {
        Ok,
        Interrupted, ///< what was listed changed meanwhile: the list has holes; ask anew, with a new socket
        Refused      ///< errno says why; use no more
    };
    using Reader = std::function<void(const nlmsghdr& a_oMessage)>;

    /// Throws std::system_error when the kernel grants none.
    NetlinkSocket();
    ~NetlinkSocket();
    NetlinkSocket(const NetlinkSocket&) = delete;
    NetlinkSocket& operator=(const NetlinkSocket&) = delete;

    /// Sends a request and gives every message of the reply to the reader. The kernel answers at once; a limit of
    /// seconds is there for a kernel that doesn't.
    Answer ask(nlmsghdr& a_oRequest, const Reader& a_oReader);

private:
    mnl_socket* m_pSocket;
    std::uint32_t m_uiSequence = 0;
};

} // namespace netifwatch
