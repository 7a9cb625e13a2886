#pragma once

#include <sys/socket.h>

namespace quorvad
{

/// Waits for one of the poll events, an error or a hang-up, which the next call on the socket reports. Returns the
/// events seen, 0 on timeout, -1 with errno on failure. Signals do not shorten the wait. A negative limit waits for
/// ever.
[[nodiscard]] int waitForSocket(int a_iSocket, short a_iEvents, int a_iTimeoutMs);

/// connect() that survives signals: an interrupted attempt goes on in the kernel and is waited for. Blocks up to the
/// system's TCP limit. False with errno on failure.
[[nodiscard]] bool connectSocketTo(int a_iSocket, const sockaddr* a_pAddress, socklen_t a_uiLength);

} // namespace quorvad
