#include "platform/client/servicelink.h"

#include "platform/common/reason.h"

#include <utility>

#include <sys/epoll.h>

namespace platform
{

namespace
{

wire::Reply makeFailure(wire::Result a_eResult, std::string a_strReason)
{
    wire::Reply oReply;
    oReply.m_eResult = a_eResult;
    oReply.m_strError = std::move(a_strReason);
    return oReply;
}

/// Seconds since the first call: a program makes its first connection when it starts.
int ageOfProgram()
{
    static const std::chrono::steady_clock::time_point s_oStart = std::chrono::steady_clock::now();
    const auto oAge = std::chrono::steady_clock::now() - s_oStart;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(oAge).count());
}

wire::Request makeGreeting(const LinkSettings& a_oSettings)
{
    const auto toFlag = [](bool a_bFlag) { return korrin::Value(korrin::eValueInteger, a_bFlag ? 1 : 0); };
    wire::Request oHello;
    oHello.m_eOperation = wire::Operation::Hello;
    oHello.m_uiNumber = wire::g_uiProtocolVersion;
    oHello.m_strTable = a_oSettings.m_strClientName;
    oHello.m_oNames.assign(a_oSettings.m_oWatched.begin(), a_oSettings.m_oWatched.end());
    oHello.m_oValues.add(wire::g_acNotifyOwnChangesOption, toFlag(a_oSettings.m_bNotifyOwnChanges));
    oHello.m_oValues.add(wire::g_acReadOnlyOption, toFlag(a_oSettings.m_bReadOnly));
    oHello.m_oValues.add(wire::g_acAgeOption, korrin::Value(korrin::eValueInteger, ageOfProgram()));
    return oHello;
}

wire::Result resultOf(const std::exception& a_oFailure)
{
    const auto* pError = dynamic_cast<const LinkError*>(&a_oFailure);
    return pError != nullptr ? pError->getResult() : wire::Result::Disconnected;
}

/// What the service tells of itself. Throws LinkError with the service's reason when it refused.
const korrin::ValueList& readGreetingReply(const wire::Reply& a_oReply)
{
    if (a_oReply.m_eResult != wire::Result::Ok)
    {
        throw LinkError(wire::Result::BadRequest, "it refused this client: " + a_oReply.m_strError);
    }
    if (a_oReply.m_oRows.empty())
    {
        throw LinkError(wire::Result::Garbled, "it did not say what it is");
    }
    return a_oReply.m_oRows.front();
}

} // namespace

ServiceLink::ServiceLink(EventLoop& a_oLoop, ILinkListener& a_oListener, LinkSettings a_oSettings, LinkLimits a_oLimits)
    : m_oLoop(a_oLoop), m_oListener(a_oListener), m_oSettings(std::move(a_oSettings)), m_oLimits(std::move(a_oLimits)),
      m_oBackoff(std::chrono::milliseconds(m_oSettings.m_uiRetryDelayMs), m_oLimits.m_oMaxRetryDelay),
      m_oTimer(a_oLoop, [this] { onTimer(); }), m_oReport(m_oSettings.m_strSocketPath)
{
}

ServiceLink::~ServiceLink()
{
    close();
}

void ServiceLink::connect()
{
    close();
    m_oTimer.stop();
    try
    {
        openSocket();
        wire::Request oHello = makeGreeting(m_oSettings);
        // Fits the buffer of a fresh socket, or something is wrong.
        send(makeFrame(oHello), Deadline(std::chrono::milliseconds(0)));
        m_eState = State::Greeting;
        m_oTimer.start(m_oLimits.m_oRequest);
    }
    catch (const std::exception& e) // also: no descriptor left for the loop, or a name that fits no frame
    {
        fail(e);
    }
}

void ServiceLink::stop()
{
    close();
    m_oTimer.stop();
}

void ServiceLink::openSocket()
{
    m_pConnection = std::make_unique<Connection>(m_oSettings.m_strSocketPath);
    checkPeer();
    m_oLoop.add(m_pConnection->getFd(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

void ServiceLink::checkPeer() const
{
    const uid_t uiUser = m_pConnection->getPeerUser();
    if (!m_oLimits.m_oIsTrusted(uiUser))
    {
        throw LinkError(wire::Result::NoAccess, std::to_string(uiUser));
    }
}

std::string ServiceLink::makeFrame(wire::Request& a_oRequest)
{
    a_oRequest.m_uiSequence = ++m_uiSequence;
    return wire::encodeFrame(wire::encode(a_oRequest));
}

void ServiceLink::send(const std::string& a_strFrame, const Deadline& a_oDeadline)
{
    m_oReply.reset();
    m_bAwaiting = true;
    m_pConnection->send(a_strFrame, a_oDeadline);
}

void ServiceLink::finishGreeting(const wire::Reply& a_oReply)
{
    const korrin::ValueList& oAbout = readGreetingReply(a_oReply);
    m_strServiceVersion =
        oAbout.getValue(wire::g_acServiceColumn).getText() + " " + oAbout.getValue(wire::g_acVersionColumn).getText();
    m_bDigests = oAbout.hasValue(wire::g_acDigestsColumn);
    m_oTimer.stop();
    m_eState = State::Up;
    m_oUpSince = std::chrono::steady_clock::now();
    m_bProved = false;
    m_oReport.connected(m_strServiceVersion);
    m_oListener.onLinkUp();
}

wire::Reply ServiceLink::request(wire::Request a_oRequest)
{
    if (!isUp())
    {
        return makeFailure(wire::Result::Disconnected, getFailure());
    }
    std::string strFrame;
    try
    {
        strFrame = makeFrame(a_oRequest);
    }
    catch (const std::length_error& e) // nothing was sent: the connection is as good as before
    {
        return makeFailure(wire::Result::TooLarge, e.what());
    }
    catch (const std::invalid_argument& e)
    {
        return makeFailure(wire::Result::WrongType, e.what());
    }
    return exchange(strFrame);
}

wire::Reply ServiceLink::exchange(const std::string& a_strFrame)
{
    try
    {
        const Deadline oDeadline(m_oLimits.m_oRequest);
        send(a_strFrame, oDeadline);
        return awaitReply(oDeadline);
    }
    catch (const std::exception& e) // also out of memory: a part of the stream may be lost
    {
        fail(e);
        return makeFailure(resultOf(e), getFailure());
    }
}

wire::Reply ServiceLink::awaitReply(const Deadline& a_oDeadline)
{
    for (;;)
    {
        handleMessages();
        if (m_oReply)
        {
            m_bProved = true;
            return std::move(*m_oReply);
        }
        if (a_oDeadline.hasPassed() || !m_pConnection->receive())
        {
            m_pConnection->waitReadable(a_oDeadline);
        }
    }
}

void ServiceLink::onReadable()
{
    try
    {
        (void)m_pConnection->receive(); // the rest is reported again
        handleMessages();
        if (m_eState == State::Greeting && m_oReply)
        {
            finishGreeting(*m_oReply);
        }
    }
    catch (const std::exception& e) // also out of memory: a message may be lost
    {
        fail(e);
    }
}

void ServiceLink::onTimer()
{
    if (m_eState == State::Greeting)
    {
        fail(LinkError(wire::Result::TimedOut, "no answer to the greeting in time"));
    }
    else if (m_eState == State::Down)
    {
        connect();
    }
}

void ServiceLink::handleMessages()
{
    while (std::optional<wire::Message> oMessage = m_pConnection->take())
    {
        std::visit([this](auto& a_oContent) { handle(a_oContent); }, *oMessage);
    }
}

void ServiceLink::handle(const wire::Request&) const
{
    throw LinkError(wire::Result::Garbled, "unreadable: a request from the service");
}

void ServiceLink::handle(const wire::Notification& a_oNotification)
{
    m_oListener.onTableChanged(a_oNotification.m_strTable);
}

void ServiceLink::handle(wire::Reply& a_oReply)
{
    if (!m_bAwaiting || a_oReply.m_uiSequence != m_uiSequence)
    {
        throw LinkError(wire::Result::Garbled, "unreadable: a reply that nobody asked for");
    }
    m_bAwaiting = false;
    m_oReply = std::move(a_oReply);
}

// Without memory nothing but the line and the reason may get lost.
void ServiceLink::fail(const std::exception& a_oError)
{
    const bool bWasUp = isUp();
    const wire::Result eResult = resultOf(a_oError);
    close();
    if (bWasUp && hasServed(eResult))
    {
        m_oBackoff.restart();
    }
    const bool bRetry = !bWasUp || m_oSettings.m_bReconnect;
    const std::chrono::milliseconds oPause = m_oBackoff.take();
    if (bRetry)
    {
        m_oTimer.start(oPause);
    }
    if (bWasUp)
    {
        m_oListener.onLinkDown();
        m_oReport.lost(reasonOf(a_oError), bRetry ? std::make_optional(oPause) : std::nullopt);
    }
    else
    {
        m_oReport.failedTry(eResult, reasonOf(a_oError), oPause);
    }
}

// Neither a service that only ever accepts and hangs up has, nor one that greets and then falls silent: each new
// connection to that one holds its caller up for the whole time limit of a request.
bool ServiceLink::hasServed(wire::Result a_eFailure) const
{
    return m_bProved ||
           (a_eFailure != wire::Result::TimedOut && std::chrono::steady_clock::now() - m_oUpSince >= m_oBackoff.peek());
}

void ServiceLink::close()
{
    m_eState = State::Down;
    m_bAwaiting = false;
    m_oReply.reset();
    if (m_pConnection)
    {
        m_oLoop.remove(m_pConnection->getFd());
        m_pConnection.reset();
    }
}

} // namespace platform
