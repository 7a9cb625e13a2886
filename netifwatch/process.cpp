#include "netifwatch/process.h"

#include "netifwatch/printer.h"
#include "netifwatch/watcher.h"
#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "platform/common/stopsignals.h"
#include "vadro/daemon.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace netifwatch
{

namespace
{

constexpr char s_acLogFile[] = "process";

constexpr char s_acProgram[] = "netifwatch";
constexpr std::uint32_t s_uiAllTraceLevels = 1023;

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
    platform::ignoreSignals({SIGPIPE, SIGHUP});
    const platform::StopSignals oSignals =
        a_oOptions.m_bForeground ? platform::StopSignals(oDispatcher, {SIGHUP}) : platform::StopSignals(oDispatcher);
    if (!a_oOptions.m_strState.empty())
    {
        LOG_TO(a_uiLog, warning, "Option --state is obsolete; remove it from the command line.");
    }
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

/// A second watcher would write the same rows over and over.
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
        complain("cannot detach (see syslog); use -f to stay in the foreground");
        return EXIT_FAILURE;
    }
    VADRO_Daemon_deletePidFile(&oDaemon); // a stale one
    if (VADRO_Daemon_createPidFile(&oDaemon) == 0 && VADRO_Daemon_occupiedPidFile(&oDaemon) != 0)
    {
        LOG_TO(uiLog, error, "netifwatch is already running; exiting.");
        return EXIT_FAILURE;
    }
    const int iStatus = followLogged(a_oOptions, uiLog);
    VADRO_Daemon_deletePidFile(&oDaemon);
    return iStatus;
}

void writeOut(const std::string& a_strText)
{
    if (std::fwrite(a_strText.data(), 1, a_strText.size(), stdout) != a_strText.size() || std::fflush(stdout) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    }
}

int print(const Options& a_oOptions)
{
    try
    {
        writeOut(printState(a_oOptions));
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
    platform::occupyStandardDescriptors();
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
