#pragma once

#include "platform/base/eventloop.h"
#include "platform/base/uniquefd.h"

#include <cstdint>
#include <functional>

namespace netifwatch
{

/// Notices that interfaces, addresses or default routes may have changed. Events are only hints; an overflow of the
/// socket's buffer is one, too.
class KernelEvents
{
public:
    /// Calls back from within the loop, which must outlive this. a_bRoutes: routes as well. a_iBufferBytes: buffer
    /// for waiting events, 0 for the system's default. Throws std::system_error when the kernel grants no
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
