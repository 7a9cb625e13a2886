#include "cfgserver/server.h"

#include "platform/common/log.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "server";

using platform::UniqueFd;

// Few at a time, so that the present clients get their turn in between.
constexpr int s_iAcceptsPerTurn = 8;
constexpr std::chrono::seconds s_oAcceptPause(1);

int openReserve()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

/// Whatever goes wrong in the middle of a client's stream ends it: the bytes that were taken from it are gone, and the
/// rest would be taken for other requests.
template<typename Action>
void attempt(Session& a_oSession, const Action& a_oAction) noexcept
{
    try
    {
        a_oAction(a_oSession);
    }
    catch (const std::exception& oError)
    {
        a_oSession.fail(oError);
    }
}

// Also after a hang-up: what was sent before it is still served.
void onEvents(Session& a_oSession, std::uint32_t a_uiEvents)
{
    if ((a_uiEvents & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0)
    {
        attempt(a_oSession, [](Session& a_oReady) { a_oReady.receive(); });
    }
}

} // namespace

Server::Server(platform::EventLoop& a_oLoop, Store& a_oStore, ServiceSocket& a_oSocket, const Limits& a_oLimits)
    : m_oLoop(a_oLoop), m_oSocket(a_oSocket), m_oLimits(a_oLimits), m_oService(a_oStore, a_oLimits.m_oAccess),
      m_oWarnings(VADRO_Sysloglevel_registerModul("cfgserver")),
      m_iModuleId(VADRO_Sysloglevel_registerModul("cfgserver")), m_oReserve(openReserve()),
      m_oAcceptAgain(a_oLoop, [this] { resumeAccepting(); })
{
    m_oLoop.add(m_oSocket.getFd(), EPOLLIN, [this](std::uint32_t) { acceptSome(); });
}

Server::~Server()
{
    m_oLoop.remove(m_oSocket.getFd());
    while (!m_oSessions.empty())
    {
        disconnect(m_oSessions.begin());
    }
}

void Server::runOnce()
{
    m_oLoop.wait(getTimeout());
    takeTurns();
    m_oService.expire(Clock::now());
    removeEnded();
}

int Server::getTimeout() const
{
    Clock::time_point oDeadline = m_oService.getDeadline();
    for (const auto& [iFd, pSession] : m_oSessions)
    {
        if (pSession->hasWork())
        {
            return 0;
        }
        oDeadline = std::min(oDeadline, pSession->getDeadline());
    }
    if (oDeadline == Clock::time_point::max())
    {
        return -1;
    }
    // Rounded up: a wait that ends just before its time would be followed by idle rounds.
    const auto iLeft = std::chrono::ceil<std::chrono::milliseconds>(oDeadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(iLeft, 0, std::numeric_limits<int>::max()));
}

void Server::acceptSome()
{
    for (int i = 0; i < s_iAcceptsPerTurn && acceptOne(); ++i)
    {
    }
}

bool Server::acceptOne()
{
    UniqueFd oSocket(::accept4(m_oSocket.getFd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (oSocket.isOpen())
    {
        admit(std::move(oSocket));
        return true;
    }
    const int iError = errno;
    if ((iError == EMFILE || iError == ENFILE) && m_oReserve.isOpen())
    {
        refuseOne();
    }
    else if (iError != EAGAIN && iError != EINTR && iError != ECONNABORTED)
    {
        pauseAccepting(iError);
    }
    return false;
}

void Server::refuseOne()
{
    m_oReserve.reset();
    UniqueFd oRefused(::accept4(m_oSocket.getFd(), nullptr, nullptr, SOCK_CLOEXEC));
    oRefused.reset();
    m_oReserve = UniqueFd(openReserve());
    m_oWarnings.write(__LINE__, "Refused a client: out of file descriptors");
}

void Server::pauseAccepting(int a_iError)
{
    m_oLoop.modify(m_oSocket.getFd(), 0);
    m_oAcceptAgain.start(s_oAcceptPause);
    m_oWarnings.write(__LINE__, "Cannot accept clients, pausing: " + std::generic_category().message(a_iError));
}

void Server::resumeAccepting()
{
    if (!m_oReserve.isOpen())
    {
        m_oReserve = UniqueFd(openReserve());
    }
    try
    {
        m_oLoop.modify(m_oSocket.getFd(), EPOLLIN);
    }
    catch (...)
    {
        m_oAcceptAgain.start(s_oAcceptPause); // or no client would ever be accepted again
        throw;
    }
}

void Server::admit(UniqueFd a_oSocket)
{
    const int iFd = a_oSocket.get();
    const Peer oPeer = readPeer(iFd);
    if (!mayConnect(iFd, oPeer, m_oSocket.getGroup()))
    {
        m_oWarnings.write(__LINE__, "Refused a client without permission (" + oPeer.describe() + ")");
        return;
    }
    limitStrangers();
    auto pSession = std::make_unique<Session>(std::move(a_oSocket), oPeer, m_oLimits.m_oTimeouts);
    Session& oSession = *m_oSessions.emplace(iFd, std::move(pSession)).first->second;
    try
    {
        m_oLoop.add(iFd,
                    oSession.takeNewInterest().value_or(0),
                    [&oSession](std::uint32_t a_uiEvents) { onEvents(oSession, a_uiEvents); });
    }
    catch (...)
    {
        m_oSessions.erase(iFd);
        throw;
    }
}

void Server::limitStrangers()
{
    // Silent connections displace each other, so that however many there are, a client that says Hello gets through.
    std::size_t uiStrangers = 0;
    auto itOldest = m_oSessions.end();
    for (auto it = m_oSessions.begin(); it != m_oSessions.end(); ++it)
    {
        if (!it->second->getClient().m_bGreeted)
        {
            ++uiStrangers;
            const bool bOlder = itOldest == m_oSessions.end() || it->second->getStart() < itOldest->second->getStart();
            itOldest = bOlder ? it : itOldest;
        }
    }
    if (uiStrangers > 0 && uiStrangers >= m_oLimits.m_uiStrangers)
    {
        m_oWarnings.write(__LINE__,
                          "Too many clients: closing " + itOldest->second->describe() + ", which has not sent Hello");
        disconnect(itOldest);
    }
}

void Server::takeTurns()
{
    forEach([this](Session& a_oSession)
            { a_oSession.serve([&](const wire::Request& a_oRequest) { return answer(a_oSession, a_oRequest); }); });
    // After all were served, so that a commit's notifications leave in the turn of the commit.
    forEach(
        [](Session& a_oSession)
        {
            a_oSession.flush();
            a_oSession.expire();
        });
}

void Server::forEach(const std::function<void(Session&)>& a_oAction)
{
    for (const auto& [iFd, pSession] : m_oSessions)
    {
        attempt(*pSession, a_oAction);
    }
}

wire::Reply Server::refuse(Session& a_oSession, const wire::Request& a_oHello, const std::string& a_strReason)
{
    m_oWarnings.write(__LINE__, "Refused a client (" + a_oSession.getPeer().describe() + "): " + a_strReason);
    a_oSession.endAfterReplies();
    wire::Reply oReply;
    oReply.m_uiSequence = a_oHello.m_uiSequence;
    oReply.m_eResult = wire::Result::TooLarge;
    oReply.m_strError = "too many clients: " + a_strReason + "; end some, or try again later";
    return oReply;
}

wire::Reply Server::answer(Session& a_oSession, const wire::Request& a_oRequest)
{
    if (!a_oSession.getClient().m_bGreeted && a_oRequest.m_eOperation == wire::Operation::Hello)
    {
        if (const auto oReason = makeRoom(m_oSessions, m_oService, m_oLimits, a_oSession.getPeer()))
        {
            return refuse(a_oSession, a_oRequest, *oReason);
        }
    }
    Service::Answer oAnswer = m_oService.answer(a_oSession.getClient(), a_oRequest, Clock::now());
    for (const std::size_t uiTable : oAnswer.m_oChanged)
    {
        for (const auto& [iFd, pSession] : m_oSessions)
        {
            const Client& oClient = pSession->getClient();
            if (oClient.m_bGreeted && oClient.m_oWatched[uiTable] &&
                (pSession.get() != &a_oSession || oClient.m_bNotifyOwnChanges))
            {
                pSession->markChanged(uiTable);
            }
        }
    }
    return std::move(oAnswer.m_oReply);
}

void Server::removeEnded()
{
    for (auto it = m_oSessions.begin(); it != m_oSessions.end();)
    {
        const auto itThis = it++;
        if (itThis->second->isOver())
        {
            disconnect(itThis);
        }
        else if (const auto oInterest = itThis->second->takeNewInterest())
        {
            m_oLoop.modify(itThis->first, *oInterest);
        }
    }
}

void Server::disconnect(Sessions::iterator a_itSession)
{
    logEnd(*a_itSession->second);
    m_oService.leave(a_itSession->second->getClient());
    m_oLoop.remove(a_itSession->first);
    m_oSessions.erase(a_itSession);
}

void Server::logEnd(const Session& a_oSession) noexcept
{
    try
    {
        if (!a_oSession.getFault().empty())
        {
            m_oWarnings.write(__LINE__, "Closed " + a_oSession.describe() + ": it " + a_oSession.getFault());
        }
        else
        {
            LOG_DEBUG("%s", ("Left: " + a_oSession.describe()).c_str());
        }
    }
    catch (const std::bad_alloc&) // the line is lost; the connection must end all the same
    {
    }
}

} // namespace cfgserver
