#include "platform/base/processcheck.h"

#include "platform/base/uniquefd.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace platform
{

namespace
{

std::string procPath(pid_t a_iPid, const char* a_pName)
{
    return "/proc/" + std::to_string(a_iPid) + '/' + a_pName;
}

std::optional<ProcessState> readProcessState(pid_t a_iPid)
{
    const UniqueFd oFile(::open(procPath(a_iPid, "stat").c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 512> acBuffer{}; // command and state stand at the front
    const ssize_t iRead = oFile.isOpen() ? ::read(oFile.get(), acBuffer.data(), acBuffer.size()) : -1;
    return iRead > 0 ? parseProcessStat({acBuffer.data(), static_cast<std::size_t>(iRead)}) : std::nullopt;
}

} // namespace

std::optional<ProcessState> parseProcessStat(std::string_view a_strContents)
{
    const std::size_t uiOpen = a_strContents.find(" (");
    const std::size_t uiClose = a_strContents.rfind(") ");
    if (uiOpen == std::string_view::npos || uiClose == std::string_view::npos || uiClose < uiOpen + 2 ||
        uiClose + 2 >= a_strContents.size())
    {
        return std::nullopt;
    }
    return ProcessState{std::string(a_strContents.substr(uiOpen + 2, uiClose - uiOpen - 2)),
                        a_strContents[uiClose + 2]};
}

bool isRunning(pid_t a_iPid)
{
    if (kill(a_iPid, 0) != 0 && errno != EPERM) // EPERM: it lives, but belongs to somebody else
    {
        return false;
    }
    const std::optional<ProcessState> oState = readProcessState(a_iPid);
    if (!oState)
    {
        return true;
    }
    return oState->m_cState != 'Z' && oState->m_cState != 'X';
}

} // namespace platform
