#pragma once

#include <sys/socket.h>

namespace quorvad
{

/// Waits until one of the poll events (or an error or hang-up, of which the next call on the socket tells) is there.
/// Returns the events seen, 0 on a time-out, -1 with errno on failure. Signals don't shorten the wait. A negative
/// time limit waits without one.
[[nodiscard]] int waitForSocket(int a_iSocket, short a_iEvents, int a_iTimeoutMs);

/// connect() that a signal can't fail: an interrupted attempt goes on in the kernel and is waited for. Blocks for as
/// long as the system's TCP limit. False with errno on failure.
[[nodiscard]] bool connectSocketTo(int a_iSocket, const sockaddr* a_pAddress, socklen_t a_uiLength);

} // namespace quorvad
