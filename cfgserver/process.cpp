#include "cfgserver/process.h"

#include "cfgserver/database.h"
#include "cfgserver/server.h"
#include "cfgserver/signals.h"
#include "cfgserver/startreport.h"
#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/base/servicemanager.h"
#include "platform/common/log.h"
#include "vadro/daemon.h"

#include <cerrno>
#include <functional>
#include <grp.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "process";

constexpr int s_iFailure = 1;
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
        throw std::runtime_error("there is no group '" + a_strName + "'");
    }
    return pFound->gr_gid;
}

uint32_t openLog(const Options& a_oOptions)
{
    VADRO_Sysloglevel_construct2("", "cfgserver");
    VADRO_Sysloglevel_set(a_oOptions.m_bForeground ? 0 : 1);
    VADRO_Sysloglevel_changeTracelevelAll(a_oOptions.m_bDebug ? 1023 : 0);
    return VADRO_Sysloglevel_registerModul("cfgserver");
}

/// The memory holds every password: no core file, whether written or piped to a program, and no tracing but by root.
void keepMemoryPrivate()
{
    const rlimit oNone = {0, 0};
    ::setrlimit(RLIMIT_CORE, &oNone);
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

/// From the first file to the stop signal. Throws what makes the service impossible.
void serve(const Options& a_oOptions, uint32_t a_uiLog, const std::function<void()>& a_oReady)
{
    platform::EventLoop oLoop;
    const Signals oSignals(oLoop, a_oOptions.m_bForeground);
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

/// Holds the PID file of the detached process.
class PidFile
{
public:
    explicit PidFile(const VADRO_Daemon& a_oDaemon) : m_oDaemon(a_oDaemon)
    {
        VADRO_Daemon_deletePidFile(&m_oDaemon); // a stale one
        if (VADRO_Daemon_createPidFile(&m_oDaemon) == 0)
        {
            throw std::runtime_error("can't write PID file " + m_oDaemon.m_strPidFile +
                                     " (syslog says why); run as root, or in the foreground (-f), which needs none");
        }
    }
    ~PidFile() { VADRO_Daemon_deletePidFile(&m_oDaemon); }
    PidFile(const PidFile&) = delete;
    PidFile& operator=(const PidFile&) = delete;

private:
    VADRO_Daemon m_oDaemon;
};

int runForeground(const Options& a_oOptions)
{
    const uint32_t uiLog = openLog(a_oOptions);
    try
    {
        serve(a_oOptions, uiLog, [] { platform::reportReady(); });
        return 0;
    }
    catch (const std::exception& oError)
    {
        LOG_TO(uiLog, error, "%s", oError.what());
        return s_iFailure;
    }
}

int runDetached(const Options& a_oOptions, StartReport& a_oReport)
{
    VADRO_Daemon oDaemon;
    VADRO_Daemon_construct(&oDaemon, "cfgserver", "/run");
    const uint32_t uiLog = openLog(a_oOptions);
    try
    {
        if (VADRO_Daemon_occupiedPidFile(&oDaemon) != 0)
        {
            throw std::runtime_error("already running, as " + oDaemon.m_strPidFile + " says");
        }
        if (VADRO_Daemon_daemonize(&oDaemon) == 0)
        {
            throw std::runtime_error("can't detach (syslog says why)");
        }
        const PidFile oPidFile(oDaemon);
        serve(a_oOptions, uiLog, [&] { a_oReport.ready(); });
        return 0;
    }
    catch (const std::exception& oError)
    {
        LOG_TO(uiLog, error, "%s", oError.what());
        a_oReport.failed(oError.what());
        return s_iFailure;
    }
}

/// The database is opened after the fork: its locks would not survive one.
int runBackground(const Options& a_oOptions)
{
    StartReport oReport;
    const pid_t iChild = ::fork();
    if (iChild < 0)
    {
        throw std::system_error(errno, std::generic_category(), "can't detach");
    }
    if (iChild == 0)
    {
        ::_exit(runDetached(a_oOptions, oReport));
    }
    const std::string strFailure = oReport.await();
    while (::waitpid(iChild, nullptr, 0) < 0 && errno == EINTR)
    {
    }
    if (!strFailure.empty())
    {
        throw std::runtime_error(strFailure);
    }
    return 0;
}

} // namespace

int runProcess(const Options& a_oOptions)
{
    ::umask(S_IRWXG | S_IRWXO);
    keepMemoryPrivate();
    if (a_oOptions.m_bForeground)
    {
        return runForeground(a_oOptions);
    }
    try
    {
        return runBackground(a_oOptions);
    }
    catch (const std::exception& oError)
    {
        platform::writeStandardError("cfgserver: " + platform::escape(oError.what()) + "\n");
        return s_iFailure;
    }
}

} // namespace cfgserver
