#include "resolver/dnsresolver.h"

#include "actions/error.h"
#include "platform/common/log.h"
#include "resolver/answer.h"
#include "resolver/lookuptables.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <exception>
#include <poll.h>
#include <sys/time.h>

namespace quorvad
{

std::atomic<int> s_iNextRequestId{0};
std::mutex s_oMutex;
std::unordered_map<int, std::pair<int, addrinfo*>> s_oResults;
std::unordered_map<int, std::condition_variable*> s_oWaiters;

namespace
{

constexpr char s_acLogFile[] = "dnsresolver";

void releaseList(addrinfo* a_pList)
{
    if (a_pList != nullptr)
    {
        freeaddrinfo(a_pList);
    }
}

bool hasResult(int a_iRequestId)
{
    const std::lock_guard<std::mutex> oLock(s_oMutex);
    return s_oResults.count(a_iRequestId) != 0;
}

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

/// Waits once for the channel's sockets, at most until c-ares's next timeout, and lets c-ares handle what happened;
/// completion handlers run inside. False, without waiting, if no query is active on the channel.
///
/// Descriptors may have any number. c-ares reports at most ARES_GETSOCK_MAXNUM (16) sockets of a channel, one per
/// server asked so far; answers of further servers are not heard, but their timeouts still end the query.
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

/// One look-up's entries in the tables. c-ares holds a pointer to the id while the query runs, so the destructor ends
/// the query, however the look-up is left.
class Lookup
{
public:
    explicit Lookup(ares_channel a_pChannel) : m_pChannel(a_pChannel), m_iId(s_iNextRequestId.fetch_add(1))
    {
        const std::lock_guard<std::mutex> oLock(s_oMutex);
        s_oWaiters[m_iId] = &m_oCondition;
    }

    ~Lookup()
    {
        if (!m_bTaken)
        {
            cancelUnlessDone();
        }
        const std::lock_guard<std::mutex> oLock(s_oMutex);
        const auto oResult = s_oResults.find(m_iId);
        if (oResult != s_oResults.end())
        {
            releaseList(oResult->second.second);
            s_oResults.erase(oResult);
        }
        s_oWaiters.erase(m_iId);
    }

    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    /// For a query that is still pending, the handler runs inside ares_cancel.
    void cancelUnlessDone()
    {
        if (!hasResult(m_iId))
        {
            ares_cancel(m_pChannel);
        }
    }

    /// Waits for the handler, which may run on another thread, and takes its result. The limit is reached only if the
    /// handler had no memory to store a result.
    std::pair<int, addrinfo*> takeResult()
    {
        std::unique_lock<std::mutex> oLock(s_oMutex);
        const bool bThere =
            m_oCondition.wait_for(oLock, std::chrono::seconds(5), [this] { return s_oResults.count(m_iId) != 0; });
        if (!bThere)
        {
            s_oWaiters.erase(m_iId);
            return {ARES_ENOMEM, nullptr};
        }
        const auto oResult = s_oResults.find(m_iId);
        const std::pair<int, addrinfo*> oTaken = oResult->second;
        m_bTaken = true;
        s_oResults.erase(oResult);
        s_oWaiters.erase(m_iId);
        return oTaken;
    }

    ares_channel m_pChannel;
    int m_iId;
    bool m_bTaken = false;
    std::condition_variable m_oCondition;
};

} // namespace

DnsResolver::DnsResolver(const std::string& a_strInterface, const std::string& a_strNameservers)
    : m_pChannel(nullptr), m_strInterface(a_strInterface), m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    LOG_DEBUG("DnsResolver");
    int iStatus = ares_init(&m_pChannel);
    if (iStatus != ARES_SUCCESS)
    {
        LOG_ERROR("ares_init failed: %s", ares_strerror(iStatus));
        throw Error(Error::AresChannelInitFailed);
    }
    iStatus = ares_set_servers_csv(m_pChannel, a_strNameservers.c_str());
    if (iStatus != ARES_SUCCESS)
    {
        LOG_ERROR("ares_set_servers_csv failed: %s", ares_strerror(iStatus));
        ares_destroy(m_pChannel);
        throw Error(Error::AresChannelInitFailed);
    }
    ares_set_local_dev(m_pChannel, m_strInterface.c_str());
}

DnsResolver::~DnsResolver()
{
    LOG_DEBUG("~DnsResolver");
    ares_destroy(m_pChannel);
}

int DnsResolver::getaddrinfo(const std::string& a_strNode, addrinfo** a_ppResult)
{
    LOG_DEBUG("getaddrinfo");
    Lookup oLookup(m_pChannel);
    LOG_DEBUG("Send query for node '%s' with request id %d", a_strNode.c_str(), oLookup.m_iId);
    ares_gethostbyname(m_pChannel, a_strNode.c_str(), AF_INET, gethostbynameCallback, &oLookup.m_iId);
    resolvLoop(m_pChannel, oLookup.m_iId);
    oLookup.cancelUnlessDone();
    const auto [iStatus, pList] = oLookup.takeResult();
    if (pList != nullptr)
    {
        *a_ppResult = pList;
        return 0;
    }
    LOG_WARNING("Failed to resolve for '%s' (%s)", a_strNode.c_str(), ares_strerror(iStatus));
    return toGetaddrinfoCode(iStatus);
}

void DnsResolver::resolvLoop(ares_channel a_pChannel, int a_iRequestId)
{
    LOG_DEBUG("resolvLoop");
    while (driveChannelOnce(a_pChannel))
    {
        if (hasResult(a_iRequestId))
        {
            LOG_DEBUG("c-ares thread signaled result for request id %d", a_iRequestId);
            return;
        }
    }
    LOG_DEBUG("c-ares thread reports no active resolving...");
}

void DnsResolver::gethostbynameCallback(void* a_pArg, int a_iStatus, int /*a_iTimeouts*/, hostent* a_pHost) noexcept
{
    const int iId = *static_cast<const int*>(a_pArg);
    addrinfo* pList = nullptr;
    int iStatus = a_iStatus;
    if (iStatus == ARES_SUCCESS && a_pHost != nullptr)
    {
        iStatus = makeAddressList(*a_pHost, pList);
    }
    try
    {
        const std::lock_guard<std::mutex> oLock(s_oMutex);
        s_oResults[iId] = {iStatus, pList};
        const auto oWaiter = s_oWaiters.find(iId);
        if (oWaiter != s_oWaiters.end())
        {
            oWaiter->second->notify_one();
        }
    }
    catch (const std::exception&)
    {
        releaseList(pList); // no memory for the entry; the caller's wait has a limit for this case
    }
}

} // namespace quorvad
