#pragma once

#include "korrin/net/eventdispatcher.h"
#include "vadro/cfg/notificationhandler.h"

#include <string>

namespace cfgctl
{

/// A connection to the configuration service for the length of one command; one thread.
class Session
{
public:
    /// Blocks until connected. Throws Failure, after about a second, when the service can't be
    /// reached, and after three when it doesn't answer.
    explicit Session(const std::string& a_strSocket);
    /// As above, with table changes delivered to a_oHandler by process(), and a lost connection rebuilt.
    Session(const std::string& a_strSocket, vadro::cfg::IConfigHandler& a_oHandler);

    [[nodiscard]] vadro::cfg::common::IConfigClient& getClient() { return m_oNotifications.getConfigClient(); }
    [[nodiscard]] korrin::net::EventDispatcher& getDispatcher() { return m_oDispatcher; }
    void process() { m_oNotifications.process(); }

private:
    void connect(const std::string& a_strSocket, vadro::cfg::IConfigHandler& a_oHandler);

    korrin::net::EventDispatcher m_oDispatcher;
    vadro::cfg::NotificationHandler m_oNotifications;
};

} // namespace cfgctl
