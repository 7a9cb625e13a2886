#include "platform/base/syslogsender.h"

#include "platform/base/io.h"
#include "platform/common/localtime.h"

#include <cerrno>
#include <ctime>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>

namespace platform
{

namespace
{

// Long enough for a logger that is merely busy.
constexpr int s_iTimeoutMs = 500;

// The header that loggers expect on the local socket: "<27>Jan 31 23:59:59 quorvad[123]: ".
std::string makeLine(int a_iPriority, const std::string& a_strProgram, const std::string& a_strText)
{
    return "<" + std::to_string(a_iPriority | LOG_DAEMON) + ">" + formatLocalTime(std::time(nullptr), "%b %e %T") +
           " " + a_strProgram + "[" + std::to_string(getpid()) + "]: " + a_strText;
}

bool isFull(int a_iErrno)
{
    return a_iErrno == EAGAIN || a_iErrno == ENOBUFS;
}

} // namespace

SyslogSender::SyslogSender(std::string a_strPath) : m_strPath(std::move(a_strPath))
{
}

void SyslogSender::send(int a_iPriority, const std::string& a_strProgram, const std::string& a_strText)
{
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    if (m_uiLost > 0 &&
        deliver(makeLine(LOG_WARNING,
                         a_strProgram,
                         std::to_string(m_uiLost) + " log lines dropped: the system logger was not reading")))
    {
        m_uiLost = 0;
    }
    if (!deliver(makeLine(a_iPriority, a_strProgram, a_strText)) && m_bStuck)
    {
        ++m_uiLost;
    }
}

bool SyslogSender::deliver(const std::string& a_strLine)
{
    if (m_oSocket.isOpen() && sendOnce(a_strLine))
    {
        m_bStuck = false;
        return true;
    }
    if (!m_oSocket.isOpen() || !isFull(errno)) // a restarted logger has another socket
    {
        open();
        m_bStuck = m_bStuck && m_oSocket.isOpen();
        if (!m_oSocket.isOpen() || sendOnce(a_strLine))
        {
            return m_oSocket.isOpen();
        }
    }
    m_bStuck = m_bStuck || !waitForRoom();
    return !m_bStuck && sendOnce(a_strLine);
}

bool SyslogSender::sendOnce(const std::string& a_strLine) const
{
    ssize_t iSent = -1;
    do
    {
        iSent = ::send(m_oSocket.get(), a_strLine.data(), a_strLine.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (iSent < 0 && errno == EINTR);
    return iSent >= 0;
}

// A signal ends the wait: stopping is more urgent than a line.
bool SyslogSender::waitForRoom() const
{
    pollfd oPoll{m_oSocket.get(), POLLOUT, 0};
    return ::poll(&oPoll, 1, s_iTimeoutMs) == 1;
}

void SyslogSender::open()
{
    m_oSocket.reset();
    const UniqueFd oLow(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (oLow.isOpen() && UnixAddress(m_strPath).connect(oLow.get()))
    {
        m_oSocket = duplicateAboveStandard(oLow.get());
    }
}

} // namespace platform
