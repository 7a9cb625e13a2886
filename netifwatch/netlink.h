#pragma once

#include "platform/base/eventloop.h"
#include "platform/base/uniquefd.h"

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
    /// seconds is there for a kernel that does not.
    Answer ask(nlmsghdr& a_oRequest, const Reader& a_oReader);

private:
    mnl_socket* m_pSocket;
    std::uint32_t m_uiSequence = 0;
};

/// Tells that something about interfaces, addresses or default routes changed, or may have: events are hints, nothing
/// is learnt from them. When there were more of them than the socket's buffer holds, that is a hint, too.
class KernelEvents
{
public:
    /// Calls back from within the loop, which must outlive this. a_bRoutes: hear of routes as well. a_iBufferBytes:
    /// room for events that wait, 0 for the system's default. Throws std::system_error when the kernel grants no
    /// socket.
    KernelEvents(platform::EventLoop& a_oLoop, bool a_bRoutes, int a_iBufferBytes, std::function<void()> a_oHint);
    ~KernelEvents();
    KernelEvents(const KernelEvents&) = delete;
    KernelEvents& operator=(const KernelEvents&) = delete;

private:
    void onReadable();

    platform::EventLoop& m_oLoop;
    std::function<void()> m_oHint;
    platform::UniqueFd m_oSocket;
    std::uint32_t m_iModuleId;
};

} // namespace netifwatch
