#include "netifwatch/process.h"

#include "cfgctl/inputoutput.h"
#include "netifwatch/printer.h"
#include "netifwatch/stopsignals.h"
#include "netifwatch/watcher.h"
#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/common/log.h"
#include "vadro/daemon.h"

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace netifwatch
{

namespace
{

constexpr char s_acLogFile[] = "process";

constexpr char s_acProgram[] = "netifwatch";
constexpr std::uint32_t s_uiAllTraceLevels = 1023;

/// A socket would get the number of a standard descriptor that is closed, and what is printed would go there.
void occupyStandardDescriptors()
{
    for (const int iFd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (fcntl(iFd, F_GETFD) < 0)
        {
            static_cast<void>(open("/dev/null", O_RDWR)); // the lowest free number is this one
        }
    }
}

std::uint32_t openLog(const Options& a_oOptions)
{
    VADRO_Sysloglevel_construct2("", s_acProgram);
    VADRO_Sysloglevel_set(a_oOptions.m_bForeground ? 0 : 1);
    VADRO_Sysloglevel_changeTracelevelAll(a_oOptions.m_bDebug ? s_uiAllTraceLevels : 0);
    return VADRO_Sysloglevel_registerModul(s_acProgram);
}

void complain(const std::string& a_strText)
{
    platform::writeStandardError("netifwatch: " + platform::escape(a_strText) + "\n");
}

void follow(const Options& a_oOptions, std::uint32_t a_uiLog)
{
    korrin::net::EventDispatcher oDispatcher;
    const StopSignals oSignals(oDispatcher.getEventLoop(), a_oOptions.m_bForeground);
    Watcher oWatcher(oDispatcher, a_oOptions);
    oWatcher.run([&] { return oSignals.getStopSignal() != 0; });
    if (oSignals.getStopSignal() != 0)
    {
        LOG_TO(a_uiLog, info, "Stopping on signal %d", oSignals.getStopSignal());
    }
}

int followLogged(const Options& a_oOptions, std::uint32_t a_uiLog)
{
    try
    {
        follow(a_oOptions, a_uiLog);
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        LOG_TO(a_uiLog, error, "%s", oError.what());
        return EXIT_FAILURE;
    }
}

int writeOnce(const Options& a_oOptions)
{
    Options oOptions = a_oOptions;
    oOptions.m_bForeground = true;
    const std::uint32_t uiLog = openLog(oOptions);
    VADRO_Sysloglevel_set(a_oOptions.m_bForeground || a_oOptions.m_bDebug ? 0 : 1); // what it wrote is for syslog
    try
    {
        follow(oOptions, uiLog);
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        complain(oError.what());
        return EXIT_FAILURE;
    }
}

/// Both watchers would write the same rows; it is the DNS rows that each would take for a stranger's.
int runDetached(const Options& a_oOptions)
{
    VADRO_Daemon oDaemon;
    VADRO_Daemon_construct(&oDaemon, s_acProgram, "/run");
    const std::uint32_t uiLog = openLog(a_oOptions);
    if (VADRO_Daemon_occupiedPidFile(&oDaemon) != 0)
    {
        complain("already running, as " + oDaemon.m_strPidFile + " says; stop that one first");
        return EXIT_FAILURE;
    }
    if (VADRO_Daemon_daemonize(&oDaemon) == 0)
    {
        complain("can't detach (syslog says why); the foreground (-f) needs no second process");
        return EXIT_FAILURE;
    }
    VADRO_Daemon_deletePidFile(&oDaemon); // a stale one
    if (VADRO_Daemon_createPidFile(&oDaemon) == 0 && VADRO_Daemon_occupiedPidFile(&oDaemon) != 0)
    {
        LOG_TO(uiLog, error, "netifwatch is already running; this one ends.");
        return EXIT_FAILURE;
    }
    const int iStatus = followLogged(a_oOptions, uiLog);
    VADRO_Daemon_deletePidFile(&oDaemon);
    return iStatus;
}

int print(const Options& a_oOptions)
{
    try
    {
        cfgctl::writeOut(printState(a_oOptions));
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        complain(oError.what());
        return EXIT_FAILURE;
    }
}

} // namespace

int runProcess(const Options& a_oOptions)
{
    occupyStandardDescriptors();
    if (a_oOptions.m_bPrint)
    {
        return print(a_oOptions);
    }
    if (a_oOptions.m_bOnce)
    {
        return writeOnce(a_oOptions);
    }
    return a_oOptions.m_bForeground ? followLogged(a_oOptions, openLog(a_oOptions)) : runDetached(a_oOptions);
}

} // namespace netifwatch
