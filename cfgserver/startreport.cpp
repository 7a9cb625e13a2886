#include "cfgserver/startreport.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

namespace
{

using platform::UniqueFd;

// What can't stand in a reason: an empty text would look like an end without a word.
const std::string s_strReady(1, '\0');

/// The pipe's ends must not have the numbers of the standard descriptors, which are pointed elsewhere on detaching.
std::unique_ptr<UniqueFd> moveUp(int a_iFd)
{
    const UniqueFd oLow(a_iFd);
    auto pHigh = std::make_unique<UniqueFd>(::fcntl(a_iFd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!pHigh->isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "can't prepare to detach");
    }
    return pHigh;
}

} // namespace

StartReport::StartReport()
{
    std::array<int, 2> oEnds = {-1, -1};
    if (::pipe2(oEnds.data(), O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "can't prepare to detach");
    }
    m_pReadEnd = moveUp(oEnds[0]);
    m_pWriteEnd = moveUp(oEnds[1]);
}

void StartReport::ready()
{
    send(s_strReady);
}

void StartReport::failed(const std::string& a_strReason)
{
    send(a_strReason);
}

void StartReport::send(const std::string& a_strText)
{
    std::size_t uiSent = 0;
    while (uiSent < a_strText.size())
    {
        const ssize_t iSent = ::write(m_pWriteEnd->get(), a_strText.data() + uiSent, a_strText.size() - uiSent);
        if (iSent < 0 && errno != EINTR)
        {
            break;
        }
        uiSent += iSent > 0 ? static_cast<std::size_t>(iSent) : 0;
    }
    m_pReadEnd->reset();
    m_pWriteEnd->reset();
}

std::string StartReport::await()
{
    m_pWriteEnd->reset();
    std::string strText;
    std::array<char, 512> oBuffer = {};
    for (;;)
    {
        const ssize_t iRead = ::read(m_pReadEnd->get(), oBuffer.data(), oBuffer.size());
        if (iRead > 0)
        {
            strText.append(oBuffer.data(), static_cast<std::size_t>(iRead));
        }
        else if (iRead == 0 || errno != EINTR)
        {
            break;
        }
    }
    if (strText == s_strReady)
    {
        return {};
    }
    return strText.empty() ? "the detached process ended without a word; see syslog" : strText;
}

} // namespace cfgserver
