#pragma once

#include "platform/base/eventloop.h"
#include "platform/client/connection.h"
#include "platform/client/linkreport.h"
#include "platform/wire/message.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace platform
{

/// Where the service is, and what this client says of itself when it comes.
struct LinkSettings
{
    std::string m_strSocketPath;
    std::string m_strClientName;
    std::list<std::string> m_oWatched;
    bool m_bNotifyOwnChanges = false;
    bool m_bReadOnly = false;
    bool m_bReconnect = true;
    unsigned int m_uiRetryDelayMs = 500;
};

/// Constants of the client, in one place so that tests can shorten them.
struct LinkLimits
{
    std::chrono::milliseconds m_oRequest{10000}; ///< one request or the greeting, from its first byte to the last one
    std::chrono::milliseconds m_oMaxRetryDelay{30000};
    std::function<bool(uid_t)> m_oIsTrusted = isTrustedUser;
};

/// Pauses between tries: the first, then twice the one before, up to a limit.
class Backoff
{
public:
    /// A first pause below 10 ms is raised to that, so that tries never spin.
    Backoff(std::chrono::milliseconds a_oFirst, std::chrono::milliseconds a_oMost)
        : m_oFirst(std::max(a_oFirst, std::chrono::milliseconds(10))), m_oMost(std::max(a_oMost, m_oFirst)),
          m_oNext(m_oFirst)
    {
    }

    /// The pause to make now; the next one will be longer.
    [[nodiscard]] std::chrono::milliseconds take() { return std::exchange(m_oNext, std::min(m_oNext * 2, m_oMost)); }
    [[nodiscard]] std::chrono::milliseconds peek() const { return m_oNext; }
    void restart() { m_oNext = m_oFirst; }

private:
    std::chrono::milliseconds m_oFirst;
    std::chrono::milliseconds m_oMost;
    std::chrono::milliseconds m_oNext;
};

/// Told by ServiceLink what happens on the connection, on the thread that uses it; must not call back into the link.
class ILinkListener
{
public:
    virtual ~ILinkListener() = default;
    virtual void onLinkUp() = 0;
    virtual void onLinkDown() = 0; ///< only after onLinkUp
    virtual void onTableChanged(const std::string& a_strTable) = 0;
};

/// The connection to the configuration service: made, greeted, watched, and made again after a pause when it is lost.
///
/// Connecting and greeting go on in the event loop and never block; request() alone waits. What goes wrong on the
/// connection closes it, so that requests and replies cannot get out of step.
class ServiceLink
{
public:
    /// Loop and listener are borrowed and must outlive the link.
    ServiceLink(EventLoop& a_oLoop, ILinkListener& a_oListener, LinkSettings a_oSettings, LinkLimits a_oLimits);
    ~ServiceLink();
    ServiceLink(const ServiceLink&) = delete;
    ServiceLink& operator=(const ServiceLink&) = delete;

    void setWatched(const std::list<std::string>& a_oTables) { m_oSettings.m_oWatched = a_oTables; }

    /// One try now; a failed one sets the timer for the next.
    void connect();
    /// Closes the connection and tries no more.
    void stop();

    [[nodiscard]] bool isUp() const { return m_eState == State::Up; }
    [[nodiscard]] bool isDown() const { return m_eState == State::Down; }
    /// Why there is no connection, as a sentence with the socket's path.
    [[nodiscard]] const std::string& getFailure() const { return m_oReport.getFailure(); }
    [[nodiscard]] const std::string& getServiceVersion() const { return m_strServiceVersion; }
    /// Whether the service answers GetDigest.
    [[nodiscard]] bool tellsDigests() const { return m_bDigests; }

    /// Sends a request and waits for its reply, within the limit. A failure of the connection is a reply, too, with
    /// Disconnected, TimedOut or Garbled and the reason; without a connection it comes at once.
    wire::Reply request(wire::Request a_oRequest);

private:
    enum class State
    {
        Down,
        Greeting, ///< connected, the reply to Hello is awaited
        Up
    };

    void openSocket();
    void checkPeer() const;
    [[nodiscard]] std::string makeFrame(wire::Request& a_oRequest);
    void send(const std::string& a_strFrame, const Deadline& a_oDeadline);
    void finishGreeting(const wire::Reply& a_oReply);
    wire::Reply exchange(const std::string& a_strFrame);
    wire::Reply awaitReply(const Deadline& a_oDeadline);

    void onReadable();
    void onTimer();
    void handleMessages();
    void handle(const wire::Request&) const;
    void handle(const wire::Notification& a_oNotification);
    void handle(wire::Reply& a_oReply);

    void fail(const std::exception& a_oError);
    [[nodiscard]] bool hasServed(wire::Result a_eFailure) const;
    void close();

    EventLoop& m_oLoop;
    ILinkListener& m_oListener;
    LinkSettings m_oSettings;
    LinkLimits m_oLimits;
    Backoff m_oBackoff;
    Timer m_oTimer; // Down: the next try; Greeting: the limit of the greeting
    LinkReport m_oReport;

    State m_eState = State::Down;
    std::unique_ptr<Connection> m_pConnection;
    std::uint32_t m_uiSequence = 0;      // of the last request
    bool m_bAwaiting = false;            // that request has no reply yet
    std::optional<wire::Reply> m_oReply; // its reply, once it came
    std::chrono::steady_clock::time_point m_oUpSince;
    bool m_bProved = false; // this connection has answered a request

    std::string m_strServiceVersion;
    bool m_bDigests = false;
};

} // namespace platform
