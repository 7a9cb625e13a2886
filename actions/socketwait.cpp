#include "actions/socketwait.h"

#include "platform/common/deadline.h"

#include <cerrno>
#include <poll.h>

namespace quorvad
{

namespace
{

bool finishConnect(int a_iSocket)
{
    if (waitForSocket(a_iSocket, POLLOUT, -1) < 0)
    {
        return false;
    }
    int iError = 0;
    socklen_t uiLength = sizeof(iError);
    if (getsockopt(a_iSocket, SOL_SOCKET, SO_ERROR, &iError, &uiLength) != 0)
    {
        return false;
    }
    errno = iError;
    return iError == 0;
}

} // namespace

int waitForSocket(int a_iSocket, short a_iEvents, int a_iTimeoutMs)
{
    if (a_iSocket < 0)
    {
        errno = EBADF; // poll would ignore the descriptor and wait for nothing
        return -1;
    }
    const platform::Deadline oDeadline{std::chrono::milliseconds(a_iTimeoutMs)};
    for (;;)
    {
        pollfd oSocket = {a_iSocket, a_iEvents, 0};
        const int iReady = poll(&oSocket, 1, a_iTimeoutMs < 0 ? -1 : oDeadline.getRemainingMs());
        if (iReady > 0 && (oSocket.revents & POLLNVAL) != 0)
        {
            errno = EBADF;
            return -1;
        }
        if (iReady >= 0)
        {
            return iReady == 0 ? 0 : oSocket.revents;
        }
        if (errno != EINTR)
        {
            return -1;
        }
    }
}

bool connectSocketTo(int a_iSocket, const sockaddr* a_pAddress, socklen_t a_uiLength)
{
    if (connect(a_iSocket, a_pAddress, a_uiLength) == 0)
    {
        return true;
    }
    return errno == EINTR && finishConnect(a_iSocket);
}

} // namespace quorvad
