#include "resolver/channelwait.h"

#include <algorithm>
#include <array>
#include <climits>
#include <poll.h>
#include <sys/time.h>

namespace quorvad
{

namespace
{

struct PollSet
{
    std::array<pollfd, ARES_GETSOCK_MAXNUM> m_oSockets = {};
    nfds_t m_uiCount = 0;
};

PollSet activeSockets(ares_channel a_pChannel)
{
    std::array<ares_socket_t, ARES_GETSOCK_MAXNUM> oSockets = {};
    const auto uiBits = static_cast<unsigned>(ares_getsock(a_pChannel, oSockets.data(), ARES_GETSOCK_MAXNUM));
    PollSet oSet;
    for (unsigned uiIndex = 0; uiIndex < oSockets.size(); ++uiIndex)
    {
        const bool bRead = ARES_GETSOCK_READABLE(uiBits, uiIndex) != 0;
        const bool bWrite = ARES_GETSOCK_WRITABLE(uiBits, uiIndex) != 0;
        if (bRead || bWrite)
        {
            const int iEvents = (bRead ? POLLIN : 0) | (bWrite ? POLLOUT : 0);
            oSet.m_oSockets[oSet.m_uiCount++] = {oSockets[uiIndex], static_cast<short>(iEvents), 0};
        }
    }
    return oSet;
}

int nextTimeoutMs(ares_channel a_pChannel)
{
    constexpr int iMillisPerSecond = 1000;
    timeval oStorage = {};
    const timeval* pTimeout = ares_timeout(a_pChannel, nullptr, &oStorage);
    if (pTimeout == nullptr)
    {
        return iMillisPerSecond; // nothing is due: check again rather than sleep for ever
    }
    // Rounded up, so that the last fraction of a millisecond is not spent spinning.
    const long long iMillis = pTimeout->tv_sec * 1000LL + (pTimeout->tv_usec + 999) / 1000;
    return static_cast<int>(std::clamp<long long>(iMillis, 0, INT_MAX));
}

void processReady(ares_channel a_pChannel, const PollSet& a_oSet)
{
    bool bAny = false;
    for (nfds_t uiIndex = 0; uiIndex < a_oSet.m_uiCount; ++uiIndex)
    {
        const pollfd& oSocket = a_oSet.m_oSockets[uiIndex];
        const bool bError = (oSocket.revents & (POLLERR | POLLHUP)) != 0;
        const bool bRead = (oSocket.revents & POLLIN) != 0 || (bError && (oSocket.events & POLLIN) != 0);
        const bool bWrite = (oSocket.revents & POLLOUT) != 0 || (bError && (oSocket.events & POLLOUT) != 0);
        if (bRead || bWrite)
        {
            bAny = true;
            ares_process_fd(a_pChannel, bRead ? oSocket.fd : ARES_SOCKET_BAD, bWrite ? oSocket.fd : ARES_SOCKET_BAD);
        }
    }
    if (!bAny)
    {
        ares_process_fd(a_pChannel, ARES_SOCKET_BAD, ARES_SOCKET_BAD); // time-outs
    }
}

} // namespace

bool driveChannelOnce(ares_channel a_pChannel)
{
    PollSet oSet = activeSockets(a_pChannel);
    if (oSet.m_uiCount == 0)
    {
        return false;
    }
    // The result does not matter: after a failure or a signal no socket counts as ready, and the loop checks again.
    (void)poll(oSet.m_oSockets.data(), oSet.m_uiCount, nextTimeoutMs(a_pChannel));
    processReady(a_pChannel, oSet);
    return true;
}

} // namespace quorvad
