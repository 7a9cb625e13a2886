#include "cfgserver/startreport.h"

#include "platform/base/io.h"

#include <algorithm>
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
UniqueFd moveUp(int a_iFd)
{
    const UniqueFd oLow(a_iFd);
    UniqueFd oHigh = platform::duplicateAboveStandard(a_iFd);
    if (!oHigh.isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "can't prepare to detach");
    }
    return oHigh;
}

} // namespace

StartReport::StartReport()
{
    std::array<int, 2> oEnds = {-1, -1};
    if (::pipe2(oEnds.data(), O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "can't prepare to detach");
    }
    m_oReadEnd = moveUp(oEnds[0]);
    m_oWriteEnd = moveUp(oEnds[1]);
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
    static_cast<void>(platform::writeAll(m_oWriteEnd.get(), a_strText));
    m_oReadEnd.reset();
    m_oWriteEnd.reset();
}

std::string StartReport::await()
{
    m_oWriteEnd.reset();
    std::string strText;
    std::array<char, 512> oBuffer = {};
    for (ssize_t iRead = 1; iRead > 0;)
    {
        iRead = platform::readOnce(m_oReadEnd.get(), oBuffer.data(), oBuffer.size());
        strText.append(oBuffer.data(), static_cast<std::size_t>(std::max<ssize_t>(iRead, 0)));
    }
    if (strText == s_strReady)
    {
        return {};
    }
    return strText.empty() ? "the detached process ended without a word; see syslog" : strText;
}

} // namespace cfgserver
