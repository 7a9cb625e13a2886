#pragma once

#include "korrin/net/eventdispatcher.h"
#include "vadro/cfg/common/iconfigclient.h"
#include "vadro/cfg/iconfighandler.h"

#include <memory>
#include <string>

namespace platform
{
class ServiceConnection;
}

namespace vadro::cfg
{

/// The configuration client: one connection to the service's socket and the delivery of table changes.
///
/// Everything is called on one thread, the one that calls EventDispatcher::handleEvents. The dispatcher and the
/// registered handler are borrowed and must outlive this object (the handler may go first once nothing is processed
/// any more).
class NotificationHandler
{
public:
    /// @param a_pSocketPath path of the service's Unix socket
    /// @param a_bNotifyOwnChanges tell the handler of this client's own commits, too
    /// @param a_uiConnectTimeoutSec how long initialize() tries to reach the service, seconds
    /// @param a_uiRetryDelayMs pause after the first failed try to connect, milliseconds; doubled up to 30 s
    /// @param a_bReconnect rebuild a lost connection
    /// @param a_bReadOnly never ask for write access
    NotificationHandler(const char* a_pSocketPath,
                        korrin::net::EventDispatcher& a_oDispatcher,
                        const std::string& a_strClientName,
                        bool a_bNotifyOwnChanges,
                        unsigned int a_uiConnectTimeoutSec,
                        unsigned int a_uiRetryDelayMs,
                        bool a_bReconnect,
                        bool a_bReadOnly);
    ~NotificationHandler();
    NotificationHandler(const NotificationHandler&) = delete;
    NotificationHandler& operator=(const NotificationHandler&) = delete;

    /// Once, before initialize(). Null: nothing is delivered.
    void registerConfigHandler(IConfigHandler* a_pHandler);

    /// For a handler that wants to hear of every table when a lost connection is back, not only of those that differ
    /// from what it last read. Before initialize(); a kit need not have it.
    void deliverAllOnReturn();

    /// Connects and subscribes. Blocks until connected, for at most the connect time limit (0: one try) plus the
    /// request time limit for a greeting that is under way then, after which it throws std::runtime_error naming the
    /// socket and the reason. A wakeUp() of the dispatcher ends the wait early: it then returns unconnected and
    /// process() goes on trying.
    void initialize();

    /// Valid as long as this object; calls fail with a non-zero code while there is no connection.
    [[nodiscard]] common::IConfigClient& getConfigClient();

    /// Delivers the pending table changes, each table once, in the order of getTableNames, on the calling thread.
    /// After initialize() the first table is pending; after a lost connection is back, those whose content is another
    /// than when the handler was last told of them.
    void process();

private:
    std::unique_ptr<platform::ServiceConnection> m_pConnection;
};

} // namespace vadro::cfg
