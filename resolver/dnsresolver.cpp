#include "resolver/dnsresolver.h"

#include "actions/error.h"
#include "platform/common/log.h"
#include "resolver/answer.h"
#include "resolver/lookuptables.h"

#include <chrono>
#include <exception>

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
    int iStatus = m_oSockets.init(m_pChannel);
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
    while (m_oSockets.drive(a_pChannel))
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
