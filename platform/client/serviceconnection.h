#pragma once

#include "platform/base/eventloop.h"
#include "platform/client/configclient.h"
#include "platform/client/servicelink.h"
#include "vadro/cfg/iconfighandler.h"

#include <chrono>
#include <list>
#include <map>
#include <set>
#include <string>

namespace platform
{

/// What stands behind NotificationHandler, with the same contracts: the link to the service, the client that uses it,
/// and the deliveries to the handler.
class ServiceConnection : private ILinkListener, private IRequester
{
public:
    ServiceConnection(EventLoop& a_oLoop,
                      const LinkSettings& a_oSettings,
                      unsigned int a_uiConnectTimeoutSec,
                      const LinkLimits& a_oLimits = LinkLimits());

    void registerConfigHandler(vadro::cfg::IConfigHandler* a_pHandler) { m_pHandler = a_pHandler; }
    /// Whether a connection that is back delivers only the tables that differ from what the handler last read. That
    /// takes one more request for each delivered table, and a handler that reads what it is told of.
    void setOnlyDifferent(bool a_bOnlyDifferent) { m_bOnlyDifferent = a_bOnlyDifferent; }
    void initialize();
    [[nodiscard]] vadro::cfg::common::IConfigClient& getConfigClient() { return m_oClient; }
    void process();

private:
    void onLinkUp() override;
    void onLinkDown() override;
    void onTableChanged(const std::string& a_strTable) override;
    wire::Reply request(wire::Request a_oRequest) override;
    [[nodiscard]] std::string getServiceVersion() const override;

    void watchTables();
    void awaitLink();
    void deliver();
    void deliverTable(const std::string& a_strTable);
    using Digests = std::map<std::string, std::string>; // by table
    [[nodiscard]] Digests readDigests(const std::list<std::string>& a_oTables);
    void wakeForDeliveries();

    EventLoop& m_oLoop;
    vadro::cfg::IConfigHandler* m_pHandler = nullptr;
    std::chrono::seconds m_oConnectTimeout;
    std::list<std::string> m_oWatched; // in the order of delivery, each once
    std::set<std::string> m_oPending;  // watched tables that wait to be delivered
    std::set<std::string> m_oReturned; // those of them that wait only because the connection is back
    Digests m_oRead;                   // of the tables that the handler has read without losing the connection
    unsigned m_uiLosses = 0;           // of the connection
    bool m_bOnlyDifferent = false;
    bool m_bLoaded = false; // the handler was called
    bool m_bInitializing = false;
    bool m_bDelivering = false;
    bool m_bServiceEvent = false; // the handler has to hear of a connection lost or found
    ConfigClient m_oClient;
    ServiceLink m_oLink;
};

} // namespace platform
