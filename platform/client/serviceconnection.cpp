#include "platform/client/serviceconnection.h"

#include "vadro/cfg/notificationhandler.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace platform
{

namespace
{

/// Sets a flag for the time of a scope, however it is left.
class FlagScope
{
public:
    explicit FlagScope(bool& a_bFlag) : m_bFlag(a_bFlag) { m_bFlag = true; }
    ~FlagScope() { m_bFlag = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

private:
    bool& m_bFlag;
};

/// The time of one call of the handler.
class DeliveryScope
{
public:
    explicit DeliveryScope(ConfigClient& a_oClient) : m_oClient(a_oClient) { m_oClient.setDelivering(true); }
    ~DeliveryScope() { m_oClient.setDelivering(false); }
    DeliveryScope(const DeliveryScope&) = delete;
    DeliveryScope& operator=(const DeliveryScope&) = delete;

private:
    ConfigClient& m_oClient;
};

bool isWatched(const std::list<std::string>& a_oTables, const std::string& a_strTable)
{
    return std::find(a_oTables.begin(), a_oTables.end(), a_strTable) != a_oTables.end();
}

} // namespace

ServiceConnection::ServiceConnection(EventLoop& a_oLoop,
                                     const LinkSettings& a_oSettings,
                                     unsigned int a_uiConnectTimeoutSec,
                                     const LinkLimits& a_oLimits)
    : m_oLoop(a_oLoop), m_oConnectTimeout(a_uiConnectTimeoutSec), m_oClient(*this, a_oSettings.m_bReadOnly),
      m_oLink(a_oLoop, *this, a_oSettings, a_oLimits)
{
}

void ServiceConnection::initialize()
{
    if (m_pHandler != nullptr)
    {
        watchTables();
    }
    {
        const FlagScope oScope(m_bInitializing);
        awaitLink();
    }
    wakeForDeliveries();
}

void ServiceConnection::watchTables()
{
    std::list<std::string> oNames;
    m_pHandler->getTableNames(oNames);
    m_oPending.clear();
    m_oWatched.clear();
    for (const std::string& strName : oNames)
    {
        if (!isWatched(m_oWatched, strName))
        {
            m_oWatched.push_back(strName);
        }
    }
    m_oLink.setWatched(m_oWatched);
}

void ServiceConnection::awaitLink()
{
    const Deadline oDeadline(m_oConnectTimeout);
    // The pauses grow, so the last one may reach past the deadline: one more try is made then.
    bool bLastTry = oDeadline.hasPassed();
    m_oLink.connect();
    while (!m_oLink.isUp())
    {
        if (m_oLink.isDown() && bLastTry)
        {
            if (m_oLoop.wait(0))
            {
                return;
            }
            m_oLink.stop();
            throw std::runtime_error(m_oLink.getFailure());
        }
        if (m_oLink.isDown() && oDeadline.hasPassed())
        {
            bLastTry = true;
            m_oLink.connect();
        }
        else if (m_oLoop.wait(m_oLink.isDown() ? oDeadline.getRemainingMs() : -1) && !m_oLink.isUp())
        {
            return; // woken: the caller has something more urgent to look at
        }
    }
}

void ServiceConnection::process()
{
    if (m_pHandler == nullptr)
    {
        return;
    }
    try
    {
        const FlagScope oScope(m_bDelivering);
        deliver();
    }
    catch (...)
    {
        wakeForDeliveries();
        throw;
    }
    wakeForDeliveries();
}

void ServiceConnection::deliver()
{
    if (std::exchange(m_bServiceEvent, false))
    {
        m_pHandler->onServiceEvent();
    }
    // Without a connection a handler could read nothing and would take its rows for gone; all tables are looked at
    // once it is back.
    const std::set<std::string> oDue = m_oPending; // what comes meanwhile waits for the next pass
    for (const std::string& strTable : m_oWatched)
    {
        if (oDue.count(strTable) > 0 && m_oLink.isUp() && m_oPending.erase(strTable) > 0)
        {
            deliverTable(strTable);
        }
    }
}

void ServiceConnection::deliverTable(const std::string& a_strTable)
{
    const bool bReturned = m_oReturned.erase(a_strTable) > 0;
    const unsigned uiLosses = m_uiLosses;
    // At the start, the first delivery makes a handler load everything. Each digest is of what the handler reads, or of
    // something older; the service then told of the change before the handler could read it, so it is pending again.
    const Digests oDigests = readDigests(m_bLoaded ? std::list<std::string>{a_strTable} : m_oWatched);
    const auto itNow = oDigests.find(a_strTable);
    const auto itRead = m_oRead.find(a_strTable);
    const bool bSame = itNow != oDigests.end() && itRead != m_oRead.end() && itNow->second == itRead->second;
    if (!m_oLink.isUp() || (bReturned && bSame))
    {
        return;
    }
    m_bLoaded = true;
    m_oRead.erase(a_strTable);
    {
        const DeliveryScope oScope(m_oClient);
        m_pHandler->loadFromConfig(m_oClient, a_strTable);
    }
    if (m_uiLosses == uiLosses)
    {
        for (const auto& [strTable, strDigest] : oDigests)
        {
            m_oRead[strTable] = strDigest;
        }
    }
}

ServiceConnection::Digests ServiceConnection::readDigests(const std::list<std::string>& a_oTables)
{
    Digests oDigests;
    if (!m_bOnlyDifferent || !m_oLink.tellsDigests())
    {
        return oDigests;
    }
    for (const std::string& strTable : a_oTables)
    {
        if (const auto oDigest = m_oClient.getDigest(strTable))
        {
            oDigests[strTable] = *oDigest;
        }
    }
    return oDigests;
}

void ServiceConnection::wakeForDeliveries()
{
    if (!m_bDelivering && (m_bServiceEvent || (m_oLink.isUp() && !m_oPending.empty())))
    {
        m_oLoop.wakeUp();
    }
}

void ServiceConnection::onLinkUp()
{
    if (m_bInitializing)
    {
        m_oPending.insert(m_oWatched.begin(), m_oWatched.empty() ? m_oWatched.end() : std::next(m_oWatched.begin()));
        return;
    }
    for (const std::string& strTable : m_oWatched)
    {
        if (m_oPending.insert(strTable).second)
        {
            m_oReturned.insert(strTable);
        }
    }
    m_bServiceEvent = m_pHandler != nullptr;
}

void ServiceConnection::onLinkDown()
{
    ++m_uiLosses;
    m_oClient.onConnectionLost();
    m_bServiceEvent = m_pHandler != nullptr;
}

void ServiceConnection::onTableChanged(const std::string& a_strTable)
{
    if (isWatched(m_oWatched, a_strTable))
    {
        m_oPending.insert(a_strTable);
        m_oReturned.erase(a_strTable);
    }
    m_oClient.onTableChanged(a_strTable);
}

wire::Reply ServiceConnection::request(wire::Request a_oRequest)
{
    // Who asks again and again without going back to the event loop, as for write access, has to find the service that
    // came back in the meantime.
    if (!m_oLink.isUp() && m_oLoop.wait(0))
    {
        m_oLoop.wakeUp(); // not for us
    }
    wire::Reply oReply = m_oLink.request(std::move(a_oRequest));
    wakeForDeliveries(); // what came between request and reply must not wait for the next event
    return oReply;
}

std::string ServiceConnection::getServiceVersion() const
{
    return m_oLink.isUp() ? m_oLink.getServiceVersion() : std::string();
}

} // namespace platform

namespace vadro::cfg
{

NotificationHandler::NotificationHandler(const char* a_pSocketPath,
                                         korrin::net::EventDispatcher& a_oDispatcher,
                                         const std::string& a_strClientName,
                                         bool a_bNotifyOwnChanges,
                                         unsigned int a_uiConnectTimeoutSec,
                                         unsigned int a_uiRetryDelayMs,
                                         bool a_bReconnect,
                                         bool a_bReadOnly)
{
    platform::LinkSettings oSettings;
    oSettings.m_strSocketPath = a_pSocketPath;
    oSettings.m_strClientName = a_strClientName;
    oSettings.m_bNotifyOwnChanges = a_bNotifyOwnChanges;
    oSettings.m_bReadOnly = a_bReadOnly;
    oSettings.m_bReconnect = a_bReconnect;
    oSettings.m_uiRetryDelayMs = a_uiRetryDelayMs;
    m_pConnection =
        std::make_unique<platform::ServiceConnection>(a_oDispatcher.getEventLoop(), oSettings, a_uiConnectTimeoutSec);
    m_pConnection->setOnlyDifferent(true);
}

NotificationHandler::~NotificationHandler() = default;

void NotificationHandler::registerConfigHandler(IConfigHandler* a_pHandler)
{
    m_pConnection->registerConfigHandler(a_pHandler);
}

void NotificationHandler::deliverAllOnReturn()
{
    m_pConnection->setOnlyDifferent(false);
}

void NotificationHandler::initialize()
{
    m_pConnection->initialize();
}

common::IConfigClient& NotificationHandler::getConfigClient()
{
    return m_pConnection->getConfigClient();
}

void NotificationHandler::process()
{
    m_pConnection->process();
}

} // namespace vadro::cfg
