#pragma once

#include "cfgserver/ratelimitedlog.h"
#include "cfgserver/servicesocket.h"
#include "cfgserver/session.h"
#include "platform/base/eventloop.h"

namespace cfgserver
{

/// Serves all clients on one thread. Loop, store and socket outlive it.
class Server
{
public:
    /// Throws std::system_error when the kernel grants no descriptor.
    Server(platform::EventLoop& a_oLoop, Store& a_oStore, ServiceSocket& a_oSocket, const Limits& a_oLimits);
    /// Disconnects everybody; uncommitted writes vanish.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Waits for something to do and gives every client one turn. Returns when the loop is woken up. An error
    /// with one client ends only that client.
    void runOnce();

private:
    void acceptSome();
    [[nodiscard]] bool acceptOne();
    void refuseOne();
    void pauseAccepting(int a_iError);
    void resumeAccepting();
    void admit(platform::UniqueFd a_oSocket);
    void limitStrangers();
    [[nodiscard]] wire::Reply
    refuse(Session& a_oSession, const wire::Request& a_oHello, const std::string& a_strReason);
    void takeTurns();
    void forEach(const std::function<void(Session&)>& a_oAction);
    [[nodiscard]] wire::Reply answer(Session& a_oSession, const wire::Request& a_oRequest);
    void disconnect(Sessions::iterator a_itSession);
    void logEnd(const Session& a_oSession) noexcept;
    void removeEnded();
    [[nodiscard]] int getTimeout() const;

    platform::EventLoop& m_oLoop;
    ServiceSocket& m_oSocket;
    Limits m_oLimits;
    Service m_oService;
    RateLimitedLog m_oWarnings;
    uint32_t m_iModuleId;
    Sessions m_oSessions;
    platform::UniqueFd m_oReserve;  // given up to refuse a client when there are no others left
    platform::Timer m_oAcceptAgain; // ends a pause
};

} // namespace cfgserver
