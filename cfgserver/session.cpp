#include "cfgserver/session.h"

#include "platform/common/reason.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace cfgserver
{

namespace
{

constexpr std::size_t s_uiReadBytes = 64UL * 1024UL;

} // namespace

Session::Session(platform::UniqueFd a_oSocket, const Peer& a_oPeer, const Timeouts& a_oTimeouts)
    : m_oSocket(std::move(a_oSocket)), m_oPeer(a_oPeer), m_oTimeouts(a_oTimeouts), m_oChanged(getSchema().size())
{
    m_oClient.m_iPid = a_oPeer.m_iPid;
    m_oClient.m_uiUser = a_oPeer.m_uiUser;
}

std::string Session::describe() const
{
    return (m_oClient.m_bGreeted ? "client '" + m_oClient.m_strName + "' (" : "client (") + m_oPeer.describe() + ")";
}

void Session::receive()
{
    if (m_bUnread || m_bEnded || m_bLeaving || isFull())
    {
        return;
    }
    std::array<char, s_uiReadBytes> oBuffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by recv
    const ssize_t iRead = ::recv(m_oSocket.get(), oBuffer.data(), oBuffer.size(), MSG_DONTWAIT);
    if (iRead < 0)
    {
        if (errno != EAGAIN && errno != EINTR)
        {
            end();
        }
        return;
    }
    m_bEnded = iRead == 0;
    if (m_oReader.getBuffered() == 0)
    {
        m_oInputSince = Clock::now();
    }
    m_oReader.feed(oBuffer.data(), static_cast<std::size_t>(iRead));
    m_bUnread = true;
}

void Session::serve(const Answer& a_oAnswer)
{
    for (int i = 0; i < g_iRequestsPerTurn && hasWork(); ++i)
    {
        m_bUnread = serveOne(a_oAnswer);
    }
}

bool Session::serveOne(const Answer& a_oAnswer)
{
    std::string strPayload;
    switch (m_oReader.next(strPayload))
    {
    case wire::FrameReader::State::NeedMore:
        return false;
    case wire::FrameReader::State::Broken:
        end("sent a frame of " + std::to_string(m_oReader.getRefusedLength()) + " bytes");
        return false;
    case wire::FrameReader::State::Payload:
        break;
    }
    m_oInputSince = Clock::now();
    try
    {
        const wire::Message oMessage = wire::decode(strPayload);
        if (const auto* pRequest = std::get_if<wire::Request>(&oMessage))
        {
            if (getWaiting() == 0) // a client hears of a change before it reads it, or after a loss it might never
            {
                static_cast<void>(queueNotifications());
            }
            queue(a_oAnswer(*pRequest));
            return true;
        }
        end("sent a message that is not a request");
    }
    catch (const wire::DecodeError& oError)
    {
        end(std::string("sent a malformed message: ") + oError.what());
    }
    return false;
}

void Session::queue(const wire::Message& a_oMessage)
{
    if (getWaiting() == 0)
    {
        m_oOutputSince = Clock::now();
    }
    if (m_uiSent >= g_uiFullOutput) // or it would grow for ever with a client that always leaves something unread
    {
        m_strOutput.erase(0, m_uiSent);
        m_uiSent = 0;
    }
    m_strOutput += wire::encodeFrame(wire::encode(a_oMessage));
}

bool Session::queueNotifications()
{
    bool bAny = false;
    for (std::size_t uiTable = 0; uiTable < m_oChanged.size(); ++uiTable)
    {
        if (m_oChanged[uiTable])
        {
            m_oChanged[uiTable] = false;
            queue(wire::Notification{getSchema()[uiTable].m_strName});
            bAny = true;
        }
    }
    return bAny;
}

void Session::flush()
{
    // Notifications wait until the rest is sent, so that one per table is enough.
    while (!m_bOver && (getWaiting() > 0 ? sendSome() : queueNotifications()))
    {
    }
    if (!m_bOver && ((m_bEnded && !m_bUnread) || m_bLeaving) && getWaiting() == 0)
    {
        end();
    }
}

bool Session::sendSome()
{
    const ssize_t iSent =
        ::send(m_oSocket.get(), m_strOutput.data() + m_uiSent, getWaiting(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (iSent < 0)
    {
        if (errno != EAGAIN && errno != EINTR)
        {
            end();
        }
        return false;
    }
    m_oOutputSince = Clock::now();
    m_uiSent += static_cast<std::size_t>(iSent);
    if (getWaiting() == 0)
    {
        m_strOutput = std::string(); // gives the memory of a large reply back
        m_uiSent = 0;
    }
    return true;
}

void Session::expire()
{
    if (m_bOver || Clock::now() < getDeadline())
    {
        return;
    }
    if (getWaiting() > 0 && Clock::now() >= m_oOutputSince + m_oTimeouts.m_oStalled)
    {
        end("does not read its replies");
    }
    else
    {
        end(m_oClient.m_bGreeted ? "did not complete its request" : "did not send Hello in time");
    }
}

std::optional<std::uint32_t> Session::takeNewInterest()
{
    const std::uint32_t uiRead = m_bEnded || m_bLeaving || isFull() ? 0U : static_cast<std::uint32_t>(EPOLLIN);
    const std::uint32_t uiWrite = getWaiting() > 0 ? static_cast<std::uint32_t>(EPOLLOUT) : 0U;
    if (m_uiInterest == (uiRead | uiWrite))
    {
        return std::nullopt;
    }
    m_uiInterest = uiRead | uiWrite;
    return m_uiInterest;
}

Clock::time_point Session::getDeadline() const
{
    Clock::time_point oDeadline = Clock::time_point::max();
    if (!m_oClient.m_bGreeted)
    {
        oDeadline = m_oStart + m_oTimeouts.m_oHello;
    }
    if (getWaiting() > 0)
    {
        return std::min(oDeadline, m_oOutputSince + m_oTimeouts.m_oStalled);
    }
    if (!m_bUnread && m_oReader.getBuffered() > 0)
    {
        return std::min(oDeadline, m_oInputSince + m_oTimeouts.m_oStalled);
    }
    return oDeadline;
}

void Session::end(const std::string& a_strFault)
{
    m_bOver = true;
    m_strFault = a_strFault;
}

void Session::fail(const std::exception& a_oError) noexcept
{
    m_bOver = true;
    try
    {
        m_strFault = std::string("could not be served: ") + platform::reasonOf(a_oError);
    }
    catch (const std::bad_alloc&)
    {
        m_strFault = "failed"; // so short that it takes no memory
    }
}

} // namespace cfgserver
