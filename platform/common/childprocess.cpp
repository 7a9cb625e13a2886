#include "platform/common/childprocess.h"

#include "platform/common/deadline.h"
#include "platform/common/stopsignals.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <system_error>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr std::chrono::milliseconds s_oGrace{500};       ///< from SIGTERM to SIGKILL
constexpr std::chrono::milliseconds s_oAfterKill{300};   ///< the kernel may take a moment
constexpr std::chrono::milliseconds s_oWaitInterval{10}; ///< while the destructor waits

/// What posix_spawn is told, freed at the end.
struct SpawnSettings
{
    SpawnSettings()
    {
        posix_spawnattr_init(&m_oAttributes);
        posix_spawn_file_actions_init(&m_oActions);
        sigset_t oNone;
        sigemptyset(&oNone);
        posix_spawnattr_setsigmask(&m_oAttributes, &oNone);
        posix_spawnattr_setpgroup(&m_oAttributes, 0);
        posix_spawnattr_setflags(&m_oAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
        posix_spawn_file_actions_addopen(&m_oActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&m_oActions);
        posix_spawnattr_destroy(&m_oAttributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t m_oAttributes{};
    posix_spawn_file_actions_t m_oActions{};
};

std::vector<std::string> environmentWith(const std::vector<std::string>& a_oVariables)
{
    std::vector<std::string> oResult = a_oVariables;
    for (char** ppVariable = environ; ppVariable != nullptr && *ppVariable != nullptr; ++ppVariable)
    {
        const std::string strVariable = *ppVariable;
        const std::string strName = strVariable.substr(0, strVariable.find('=') + 1);
        const auto isReplaced = [&](const std::string& a_strOne) { return a_strOne.rfind(strName, 0) == 0; };
        if (std::none_of(a_oVariables.begin(), a_oVariables.end(), isReplaced))
        {
            oResult.push_back(strVariable);
        }
    }
    return oResult;
}

std::vector<char*> pointersTo(std::vector<std::string>& a_oTexts)
{
    std::vector<char*> oPointers;
    std::transform(a_oTexts.begin(),
                   a_oTexts.end(),
                   std::back_inserter(oPointers),
                   [](auto& a_strText) { return a_strText.data(); });
    oPointers.push_back(nullptr);
    return oPointers;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& a_oCommand, const std::vector<std::string>& a_oVariables)
{
    const SpawnSettings oSettings;
    std::vector<std::string> oCommand = a_oCommand;
    std::vector<std::string> oEnvironment = environmentWith(a_oVariables);
    const int iError = posix_spawnp(&m_iPid,
                                    oCommand.front().c_str(),
                                    &oSettings.m_oActions,
                                    &oSettings.m_oAttributes,
                                    pointersTo(oCommand).data(),
                                    pointersTo(oEnvironment).data());
    if (iError != 0)
    {
        throw std::system_error(iError, std::generic_category());
    }
}

ChildProcess::~ChildProcess()
{
    send(SIGTERM);
    if (!waitUntilEnded(s_oGrace))
    {
        send(SIGKILL);
        waitUntilEnded(s_oAfterKill);
    }
}

std::optional<int> ChildProcess::getStatus()
{
    int iStatus = 0;
    if (!m_oStatus && waitpid(m_iPid, &iStatus, WNOHANG) == m_iPid)
    {
        m_oStatus = iStatus;
    }
    return m_oStatus;
}

void ChildProcess::send(int a_iSignal)
{
    if (!getStatus())
    {
        kill(-m_iPid, a_iSignal);
    }
}

void ChildProcess::wakeLoopAtEnd()
{
    handleSignal(
        SIGCHLD, [](int) { wakeLoop(); }, SA_RESTART | SA_NOCLDSTOP);
}

bool ChildProcess::waitUntilEnded(std::chrono::milliseconds a_oTime)
{
    const Deadline oEnd(a_oTime);
    while (!getStatus() && !oEnd.hasPassed())
    {
        std::this_thread::sleep_for(s_oWaitInterval);
    }
    return m_oStatus.has_value();
}

} // namespace platform
