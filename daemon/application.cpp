#include "daemon/application.h"

#include "actions/error.h"
#include "config/confighandler.h"
#include "daemon/certificates.h"
#include "daemon/environment.h"
#include "daemon/options.h"
#include "daemon/signals.h"
#include "korrin/net/eventdispatcher.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "scheduler/timing.h"
#include "status/statusinfolog.h"
#include "vadro/basic/singletonadapter.h"
#include "vadro/cfg/notificationhandler.h"
#include "vadro/daemon.h"
#include "vadro/error/defaultasserthook.h"
#include "vadro/lock/nullmutex.h"

#include <cstdlib>
#include <exception>
#include <iostream>

namespace quorvad
{

namespace
{

constexpr char s_acLogFile[] = "main";

constexpr char s_acProgram[] = "quorvad";
constexpr char s_acPidFolder[] = "/run";
constexpr std::uint32_t s_uiAllTraceLevels = 1023;
constexpr unsigned s_uiWaitMs = 1000 * g_uiPassSec;

void startLogging(const Options& a_oOptions, vadro::error::DefaultAssertHook& a_oHook, const char* a_pProgram)
{
    if (VADRO_Sysloglevel_construct2("", s_acProgram) == 0)
    {
        std::cerr << "syslog init failed for " << a_pProgram << std::endl;
    }
    g_iModuleId = VADRO_Sysloglevel_registerModul(s_acProgram);
    a_oHook.setSyslog(a_oOptions.m_bDaemonize);
    VADRO_Sysloglevel_set(a_oOptions.m_bDaemonize ? 1 : 0);
    if (a_oOptions.m_bDebug)
    {
        VADRO_Sysloglevel_changeTracelevelAll(s_uiAllTraceLevels);
    }
    LOG_TO(g_iModuleId, info, "--- %s generated at: %s, %s", s_acProgram, __DATE__, __TIME__);
}

void exitIfRunning(const VADRO_Daemon& a_oDaemon)
{
    if (VADRO_Daemon_occupiedPidFile(&a_oDaemon) != 0)
    {
        LOG_TO(g_iModuleId, error, "quorvad (%s) is already running. Exiting ...", s_acProgram);
        std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): no other thread yet
    }
}

/// Detaching and the PID file are conveniences: if one fails, the kit has logged the reason and the daemon goes on
/// without it. Only another instance that was faster ends this one.
void detach(const VADRO_Daemon& a_oDaemon)
{
    VADRO_Daemon_daemonize(&a_oDaemon);
    VADRO_Daemon_deletePidFile(&a_oDaemon);
    if (VADRO_Daemon_createPidFile(&a_oDaemon) == 0)
    {
        exitIfRunning(a_oDaemon);
    }
}

void becomeSingleInstance(const Options& a_oOptions, VADRO_Daemon& a_oDaemon)
{
    VADRO_Daemon_construct(&a_oDaemon, s_acProgram, s_acPidFolder);
    exitIfRunning(a_oDaemon);
    if (a_oOptions.m_bDaemonize)
    {
        detach(a_oDaemon);
    }
}

void runLoop(korrin::net::EventDispatcher& a_oDispatcher,
             vadro::cfg::NotificationHandler& a_oNotifications,
             ConfigHandler& a_oHandler,
             Certificates& a_oCertificates)
{
    using StatusStore = vadro::basic::SingletonAdapter<StatusInfoLog, vadro::lock::NullMutex>;
    vadro::cfg::common::IConfigClient& oClient = a_oNotifications.getConfigClient();
    LOG_TO(g_iModuleId, debug, "Init completed...");
    g_bLoopRuns.store(true);
    while (!g_bTerminate)
    {
        logRecordedSignals(); // another wait may have consumed the wake-up
        a_oDispatcher.handleEvents(s_uiWaitMs);
        logRecordedSignals();
        a_oNotifications.process();
        LOG_TO(g_iModuleId, debug, "Poll.");
        a_oCertificates.refresh();
        const std::size_t uiUpdates = a_oHandler.m_oSchedulers.size();
        a_oHandler.process();
        StatusStore::instance().commitChanges(oClient);
        if (a_oHandler.m_oSchedulers.size() < uiUpdates)
        {
            returnFreeMemory(); // a try takes more than the daemon holds otherwise, and the next may be weeks away
        }
    }
    logRecordedSignals();
}

/// Owns what needs the connection, and what lives longer than transfers; all of it is gone when this returns or throws.
void serve(const Options& a_oOptions)
{
    Certificates oCertificates;
    korrin::net::EventDispatcher oDispatcher;
    const DispatcherWakeUp oWakeUp(oDispatcher);
    vadro::cfg::NotificationHandler oNotifications(
        a_oOptions.m_strCfgSocket.c_str(), oDispatcher, s_acProgram, false, 60, 500, true, false);
    ConfigHandler oHandler;
    oNotifications.registerConfigHandler(&oHandler);
    oNotifications.initialize();
    runLoop(oDispatcher, oNotifications, oHandler, oCertificates);
}

int runGuarded(const Options& a_oOptions)
{
    try
    {
        serve(a_oOptions);
        return EXIT_SUCCESS;
    }
    catch (const Error& oError)
    {
        LOG_TO(g_iModuleId, error, "%s", oError.what());
    }
    catch (const std::exception& oException)
    {
        LOG_TO(g_iModuleId, error, "%s", oException.what());
    }
    catch (...)
    {
        LOG_TO(g_iModuleId, error, "Unknown exception");
    }
    return EXIT_FAILURE;
}

} // namespace

int runDaemon(int a_iArgc, char** a_ppArgv)
{
    vadro::error::DefaultAssertHook oHook;
    Options oOptions;
    VADRO_Daemon oDaemon = {};
    {
        // Early stop signals stay blocked until their handler is installed; they would end the process and leave the
        // PID file.
        const platform::StopSignalBlock oBlock(platform::StopSignalBlock::AtEnd::Unblock);
        parseOptions(oOptions, a_iArgc, a_ppArgv);
        platform::occupyStandardDescriptors();
        cleanEnvironment();
        raiseDescriptorLimit();
        platform::keepMemoryPrivate();
        useOneHeap();
        useSmallStacks();
        startLogging(oOptions, oHook, a_ppArgv[0]);
        becomeSingleInstance(oOptions, oDaemon);
        installSignalHandlers();
    }
    const int iStatus = runGuarded(oOptions);
    logRecordedSignals(); // those that came during shutdown or before an exception
    VADRO_Daemon_deletePidFile(&oDaemon);
    return iStatus;
}

} // namespace quorvad
