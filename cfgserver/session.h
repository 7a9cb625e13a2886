#pragma once

#include "cfgserver/admission.h"
#include "platform/base/uniquefd.h"
#include "platform/wire/frame.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <string>

namespace cfgserver
{

/// With this much output waiting, bytes, no more requests of a client are served.
constexpr std::size_t g_uiFullOutput = 1024UL * 1024UL;
/// Requests of one client served in one turn.
constexpr int g_iRequestsPerTurn = 16;

/// One connection: bytes in, requests to whoever answers them, replies and notifications out. Never blocks, and holds
/// at most one request, g_uiFullOutput and one reply. Changes of a table that the client has not been told yet become
/// one notification.
class Session
{
public:
    using Answer = std::function<wire::Reply(const wire::Request& a_oRequest)>;

    /// Of a connected non-blocking socket.
    Session(platform::UniqueFd a_oSocket, const Peer& a_oPeer, const Timeouts& a_oTimeouts);

    [[nodiscard]] Client& getClient() { return m_oClient; }
    [[nodiscard]] const Client& getClient() const { return m_oClient; }
    [[nodiscard]] const Peer& getPeer() const { return m_oPeer; }
    [[nodiscard]] Clock::time_point getStart() const { return m_oStart; }
    /// When the last request was served or began to arrive.
    [[nodiscard]] Clock::time_point getLastUse() const { return m_oInputSince; }
    /// No request or reply is under way, not even a part of one.
    [[nodiscard]] bool isIdle() const { return !m_bUnread && m_oReader.getBuffered() == 0 && getWaiting() == 0; }
    /// "client 'x' (pid 1, uid 0)".
    [[nodiscard]] std::string describe() const;

    /// Reads what has arrived, at most 64 KiB. After an exception of this or the next three, bytes may be lost, and the
    /// connection must not go on.
    void receive();
    /// Answers up to g_iRequestsPerTurn whole requests.
    void serve(const Answer& a_oAnswer);
    void markChanged(std::size_t a_uiTable) { m_oChanged[a_uiTable] = true; }
    /// Sends what the socket takes.
    void flush();
    /// Ends the connection of a client that takes too long.
    void expire();

    /// Marks the connection for closing; a_strFault is what the client did wrong.
    void end(const std::string& a_strFault = std::string());
    /// The same for a connection that cannot be served further, even without memory to say why.
    void fail(const std::exception& a_oError) noexcept;
    /// The same once the replies are sent; no more requests are served.
    void endAfterReplies() { m_bLeaving = true; }

    /// The epoll events to wait for, where they differ from those of the last call.
    [[nodiscard]] std::optional<std::uint32_t> takeNewInterest();
    /// There may be whole requests to serve now.
    [[nodiscard]] bool hasWork() const { return m_bUnread && !isFull() && !m_bOver && !m_bLeaving; }
    /// When expire() will end it unless something happens; the far future if never.
    [[nodiscard]] Clock::time_point getDeadline() const;
    /// To be closed.
    [[nodiscard]] bool isOver() const { return m_bOver; }
    /// What the client did wrong; empty for an orderly end.
    [[nodiscard]] const std::string& getFault() const { return m_strFault; }

private:
    [[nodiscard]] std::size_t getWaiting() const { return m_strOutput.size() - m_uiSent; }
    [[nodiscard]] bool isFull() const { return getWaiting() >= g_uiFullOutput; }
    [[nodiscard]] bool serveOne(const Answer& a_oAnswer);
    [[nodiscard]] bool sendSome();
    [[nodiscard]] bool queueNotifications();
    void queue(const wire::Message& a_oMessage);

    platform::UniqueFd m_oSocket;
    Peer m_oPeer;
    Timeouts m_oTimeouts;
    Client m_oClient;
    Clock::time_point m_oStart = Clock::now();
    wire::FrameReader m_oReader;
    Clock::time_point m_oInputSince = m_oStart; // when the request that is only half here began
    std::string m_strOutput;
    std::size_t m_uiSent = 0;                    // bytes of m_strOutput
    Clock::time_point m_oOutputSince = m_oStart; // when the client last took something, or waiting began
    std::vector<bool> m_oChanged;                // notifications not yet queued, by position in the schema
    std::uint32_t m_uiInterest = 0;              // as takeNewInterest() returned last
    bool m_bUnread = false;                      // m_oReader may hold a whole request
    bool m_bEnded = false;                       // the client sends no more
    bool m_bLeaving = false;                     // closed once the replies have left
    bool m_bOver = false;
    std::string m_strFault;
};

} // namespace cfgserver
