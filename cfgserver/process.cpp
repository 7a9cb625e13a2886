#include "cfgserver/process.h"

#include "cfgserver/database.h"
#include "cfgserver/server.h"
#include "platform/base/program.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "platform/common/stopsignals.h"

#include <cerrno>
#include <grp.h>
#include <stdexcept>
#include <sys/stat.h>
#include <vector>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "process";

constexpr std::size_t s_uiMaxGroupBytes = 1024UL * 1024UL;

std::optional<gid_t> findGroup(const std::string& a_strName)
{
    if (a_strName.empty())
    {
        return std::nullopt;
    }
    group oGroup = {};
    group* pFound = nullptr;
    std::vector<char> oBuffer(1024);
    // A group with many members needs more room; none needs more than this limit.
    while (::getgrnam_r(a_strName.c_str(), &oGroup, oBuffer.data(), oBuffer.size(), &pFound) == ERANGE &&
           oBuffer.size() < s_uiMaxGroupBytes)
    {
        oBuffer.resize(2 * oBuffer.size());
    }
    if (pFound == nullptr)
    {
        throw std::runtime_error("no such group: '" + a_strName + "'");
    }
    return pFound->gr_gid;
}

/// A dead client and a full disk are error codes, no reason to die; the background outlives its terminal.
platform::StopSignals watchSignals(platform::EventLoop& a_oLoop, bool a_bForeground)
{
    platform::ignoreSignals({SIGPIPE, SIGXFSZ});
    if (a_bForeground)
    {
        return platform::StopSignals(a_oLoop, {SIGHUP});
    }
    platform::ignoreSignals({SIGHUP});
    return platform::StopSignals(a_oLoop);
}

/// From the first file to the stop signal. Throws what makes the service impossible.
void serve(const Options& a_oOptions, std::uint32_t a_uiLog, const std::function<void()>& a_oReady)
{
    platform::EventLoop oLoop;
    const platform::StopSignals oSignals = watchSignals(oLoop, a_oOptions.m_bForeground);
    const std::optional<gid_t> oGroup = findGroup(a_oOptions.m_strGroup);
    // The socket is first to come and last to go: a second start learns from it what it collides with, and makes no
    // database of its own before that.
    ServiceSocket oSocket(a_oOptions.m_strSocket, oGroup);
    Database oDatabase(a_oOptions.m_strDatabase);
    Store oStore(oDatabase);
    Server oServer(oLoop, oStore, oSocket, Limits());
    LOG_TO(
        a_uiLog, info, "Serving %s from database %s", a_oOptions.m_strSocket.c_str(), a_oOptions.m_strDatabase.c_str());
    a_oReady();
    while (oSignals.getStopSignal() == 0)
    {
        oServer.runOnce();
    }
    LOG_TO(a_uiLog, info, "Stopping on signal %d", oSignals.getStopSignal());
}

} // namespace

int runProcess(const Options& a_oOptions)
{
    ::umask(S_IRWXG | S_IRWXO);
    platform::occupyStandardDescriptors();
    platform::keepMemoryPrivate();
    platform::Program oProgram;
    oProgram.m_strName = "cfgserver";
    oProgram.m_bForeground = a_oOptions.m_bForeground;
    oProgram.m_bDebug = a_oOptions.m_bDebug;
    oProgram.m_bNeedsPidFile = true;
    return platform::runProgram(oProgram,
                                [&](std::uint32_t a_uiLog, const std::function<void()>& a_oReady)
                                { serve(a_oOptions, a_uiLog, a_oReady); });
}

} // namespace cfgserver
