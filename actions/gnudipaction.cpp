#include "actions/gnudipaction.h"

#include "actions/gnudipprotocol.h"
#include "actions/outcomereport.h"
#include "actions/socketwait.h"
#include "platform/common/log.h"
#include "resolver/dnsresolver.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <iterator>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace quorvad
{

namespace
{

constexpr char s_acLogFile[] = "gnudipaction";

constexpr int s_iWaitMs = 10000;

/// The system's reason as of strerror, but thread-safe.
std::string reason(int a_iError)
{
    return std::generic_category().message(a_iError);
}

using AddressList = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

} // namespace

GnudipAction::GnudipAction(const std::string& a_strServer,
                           const std::string& a_strInterface,
                           const std::string& a_strLocalAddr,
                           const std::string& a_strHostname,
                           const std::string& a_strUsername,
                           const std::string& a_strPassword,
                           const std::string& a_strNameservers,
                           int a_iDynDnsId)
    : m_strUsername(a_strUsername), m_strPassword(a_strPassword), m_strHostname(a_strHostname),
      m_strServer(a_strServer), m_strLocalAddr(a_strLocalAddr), m_iSocket(-1), m_acBuffer{}, m_iDynDnsId(a_iDynDnsId)
{
    LOG_DEBUG("GnudipAction");
    if (a_strNameservers.empty())
    {
        throw Error(Error::EmptyNameserverList);
    }
    if (!isUserPartOfHost(m_strUsername, m_strHostname))
    {
        throw Error(Error::GnudipDomainTooShort);
    }
    m_pResolver = std::make_unique<DnsResolver>(a_strInterface, a_strNameservers);
}

GnudipAction::~GnudipAction()
{
    LOG_DEBUG("~GnudipAction");
    closeSocket();
}

/// Closes the socket however an attempt ends, including std::bad_alloc.
class GnudipAction::SocketGuard
{
public:
    explicit SocketGuard(GnudipAction& a_oAction) : m_oAction(a_oAction) {}
    ~SocketGuard() { m_oAction.closeSocket(); }
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;

private:
    GnudipAction& m_oAction;
};

void GnudipAction::closeSocket()
{
    if (m_iSocket != -1)
    {
        close(m_iSocket);
        m_iSocket = -1;
    }
}

bool GnudipAction::connectToServer()
{
    m_iSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_iSocket == -1)
    {
        LOG_ERROR("Failed to create socket: %s", reason(errno).c_str());
        return false;
    }
    if (!bindSocket() || !connectSocket())
    {
        closeSocket();
        return false;
    }
    return true;
}

bool GnudipAction::bindSocket()
{
    sockaddr_in oLocal = {};
    oLocal.sin_family = AF_INET;
    if (inet_pton(AF_INET, m_strLocalAddr.c_str(), &oLocal.sin_addr) != 1)
    {
        oLocal.sin_addr.s_addr = INADDR_ANY; // an invalid address leaves the choice to the routing table
    }
    LOG_DEBUG("Binding socket to '%s'", m_strLocalAddr.c_str());
    if (bind(m_iSocket, reinterpret_cast<const sockaddr*>(&oLocal), sizeof(oLocal)) != 0)
    {
        LOG_ERROR("Failed to bind: %s", reason(errno).c_str());
        return false;
    }
    return true;
}

bool GnudipAction::connectSocket()
{
    addrinfo* pFound = nullptr;
    const int iResult = m_pResolver->getaddrinfo(m_strServer, &pFound);
    const AddressList pAddresses(pFound, freeaddrinfo);
    if (iResult != 0)
    {
        LOG_ERROR("getaddrinfo failed: %s", gai_strerror(iResult));
        return false;
    }
    auto* pServer = reinterpret_cast<sockaddr_in*>(pAddresses->ai_addr);
    char acAddress[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &pServer->sin_addr, acAddress, sizeof(acAddress));
    LOG_INFO("Connecting to '%s:%s' (%s)", m_strServer.c_str(), std::to_string(g_uiGnudipPort).c_str(), acAddress);
    pServer->sin_port = htons(g_uiGnudipPort);
    if (!connectSocketTo(m_iSocket, pAddresses->ai_addr, pAddresses->ai_addrlen))
    {
        LOG_ERROR("Failed to connect GnuDIP server: %s", reason(errno).c_str());
        return false;
    }
    return true;
}

void GnudipAction::sendToServer(const std::string& a_strText)
{
    LOG_DEBUG("sendToServer");
    const int iEvents = waitForSocket(m_iSocket, POLLOUT, s_iWaitMs);
    if (iEvents < 0)
    {
        LOG_ERROR("select() error '%s'", reason(errno).c_str());
    }
    else if (iEvents == 0)
    {
        LOG_ERROR("Timeout. No data received in 5 seconds.");
    }
    else if ((iEvents & (POLLOUT | POLLERR)) == 0)
    {
        LOG_ERROR("Socket is not ready for writing");
    }
    else if (send(m_iSocket, a_strText.data(), a_strText.size(), 0) < 0)
    {
        LOG_ERROR("send() failed (%s)", reason(errno).c_str());
    }
    else
    {
        LOG_DEBUG("Sent OK");
    }
}

int GnudipAction::receiveFromServer()
{
    LOG_DEBUG("receiveFromServer");
    const int iEvents = waitForSocket(m_iSocket, POLLIN, s_iWaitMs);
    if (iEvents < 0)
    {
        LOG_ERROR("select() error '%s'", reason(errno).c_str());
        return 0;
    }
    if (iEvents == 0)
    {
        LOG_INFO("Timeout. No data received from server.");
        return 0;
    }
    std::fill(std::begin(m_acBuffer), std::end(m_acBuffer), '\0');
    const ssize_t iBytes = recv(m_iSocket, m_acBuffer, sizeof(m_acBuffer) - 1, 0);
    if (iBytes < 0)
    {
        LOG_ERROR("recv() failed (%s)", reason(errno).c_str());
        return 0;
    }
    if (iBytes == 0)
    {
        LOG_INFO("Connection closed by the server.");
        return 0;
    }
    LOG_DEBUG("Received: '%s'", m_acBuffer);
    return static_cast<int>(iBytes);
}

bool GnudipAction::execute()
{
    LOG_DEBUG("execute");
    m_iSocket = -1;
    const SocketGuard oGuard(*this);
    if (!connectToServer())
    {
        return false;
    }
    const int iSaltBytes = receiveFromServer();
    if (iSaltBytes <= 0)
    {
        LOG_ERROR("No salt received from GnuDIP server.");
        closeSocket();
        return false;
    }
    logReceived(iSaltBytes);
    sendRequest(trimSalt(std::string(m_acBuffer, static_cast<std::size_t>(iSaltBytes))));
    const int iAnswerBytes = receiveFromServer();
    closeSocket();
    if (iAnswerBytes <= 0)
    {
        LOG_ERROR("Empty response from server");
        logResponse(s_iGnudipConnectionError);
        return false;
    }
    logReceived(iAnswerBytes);
    return evaluateAnswer(m_acBuffer);
}

void GnudipAction::logReceived(int a_iBytes)
{
    LOG_DEBUG("bytes: %d", a_iBytes);
    LOG_DEBUG("Server reponse: '%s'", m_acBuffer);
}

void GnudipAction::sendRequest(const std::string& a_strSalt)
{
    const std::string strInput = makeHashInput(m_strPassword, a_strSalt);
    const std::string strHash = md5Hex(strInput);
    LOG_DEBUG("string to hash: '%s', hash: '%s'", strInput.c_str(), strHash.c_str());
    const std::string strRequest = makeGnudipRequest(m_strUsername, strHash, m_strHostname);
    LOG_DEBUG("Sending: '%s' to server", strRequest.c_str());
    sendToServer(strRequest + "\n");
}

bool GnudipAction::evaluateAnswer(const std::string& a_strAnswer)
{
    int iCode = s_iGnudipConnectionError;
    switch (parseGnudipAnswer(a_strAnswer, iCode))
    {
    case EGnudipAnswer::eNoNumber:
        LOG_ERROR("Failed to parse response from server");
        logResponse(s_iGnudipConnectionError);
        return false;
    case EGnudipAnswer::eOutOfRange:
        LOG_ERROR("Parsed response code is out of integer range.");
        logResponse(s_iGnudipConnectionError);
        return false;
    case EGnudipAnswer::eCode:
        break;
    }
    logResponse(iCode);
    if (iCode != g_iGnudipSuccess)
    {
        LOG_ERROR("GnuDIP update failed with code %i (%s)", iCode, gnudipResponseText(iCode));
        return false;
    }
    LOG_INFO("GnuDIP update sent OK.");
    return true;
}

void GnudipAction::logResponse(int a_iResponseCode)
{
    const bool bSuccess = a_iResponseCode == g_iGnudipSuccess;
    reportOutcome(m_iDynDnsId, bSuccess, a_iResponseCode, gnudipResponseText(a_iResponseCode));
}

} // namespace quorvad
