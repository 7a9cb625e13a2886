#include "resolver/channelsockets.h"

#include "resolver/channeltemplate.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <sys/time.h>

namespace quorvad
{

namespace
{

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

void processReady(ares_channel a_pChannel, const std::vector<pollfd>& a_oSockets)
{
    bool bAny = false;
    for (const pollfd& oSocket : a_oSockets)
    {
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

// ares_getsock would tell of 16 sockets only, one per server asked so far, and ares_fds of numbers below 1024.
int ChannelSockets::init(ares_channel& a_pChannel)
{
    return ChannelTemplate::shared().make(&a_pChannel, onState, this);
}

void ChannelSockets::onState(void* a_pThis, ares_socket_t a_iSocket, int a_iReadable, int a_iWritable) noexcept
{
    const int iEvents = (a_iReadable != 0 ? POLLIN : 0) | (a_iWritable != 0 ? POLLOUT : 0);
    try
    {
        static_cast<ChannelSockets*>(a_pThis)->note({a_iSocket, static_cast<short>(iEvents), 0});
    }
    catch (const std::exception&) // no memory: it is not heard, and a look-up without any socket ends
    {
    }
}

void ChannelSockets::note(const pollfd& a_oSocket)
{
    const auto it = std::find_if(
        m_oSockets.begin(), m_oSockets.end(), [&](const pollfd& a_oKnown) { return a_oKnown.fd == a_oSocket.fd; });
    if (it == m_oSockets.end() && a_oSocket.events != 0)
    {
        m_oSockets.push_back(a_oSocket);
    }
    else if (it != m_oSockets.end() && a_oSocket.events == 0) // it is about to be closed
    {
        m_oSockets.erase(it);
    }
    else if (it != m_oSockets.end())
    {
        *it = a_oSocket;
    }
}

bool ChannelSockets::drive(ares_channel a_pChannel)
{
    std::vector<pollfd> oSockets = m_oSockets; // which changes while c-ares runs
    if (oSockets.empty())
    {
        return false;
    }
    // The result does not matter: after a failure or a signal no socket counts as ready, and the loop checks again.
    (void)poll(oSockets.data(), oSockets.size(), nextTimeoutMs(a_pChannel));
    processReady(a_pChannel, oSockets);
    return true;
}

} // namespace quorvad
