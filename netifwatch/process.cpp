#include "netifwatch/process.h"

#include "netifwatch/printer.h"
#include "netifwatch/watcher.h"
#include "platform/base/program.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "platform/common/stopsignals.h"

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

platform::Program describeProgram(const Options& a_oOptions)
{
    return {s_acProgram, a_oOptions.m_bForeground, a_oOptions.m_bDebug};
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

void writeOut(const std::string& a_strText)
{
    if (std::fwrite(a_strText.data(), 1, a_strText.size(), stdout) != a_strText.size() || std::fflush(stdout) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    }
}

void writeOnce(const Options& a_oOptions)
{
    Options oOptions = a_oOptions;
    oOptions.m_bForeground = true;
    const std::uint32_t uiLog = platform::openLog(describeProgram(oOptions));
    VADRO_Sysloglevel_set(a_oOptions.m_bForeground || a_oOptions.m_bDebug ? 0 : 1); // what it wrote is for syslog
    follow(oOptions, uiLog);
}

/// Runs what stays in the caller's process and ends by itself.
int finish(const std::function<void()>& a_oWork)
{
    try
    {
        a_oWork();
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        platform::complain(s_acProgram, oError.what());
        return EXIT_FAILURE;
    }
}

} // namespace

int runProcess(int a_iCount, char** a_ppArguments)
{
    Options oOptions;
    if (const auto oStatus = readOptions(a_iCount, a_ppArguments, oOptions))
    {
        return *oStatus;
    }
    platform::occupyStandardDescriptors();
    if (oOptions.m_bPrint)
    {
        return finish([&] { writeOut(printState(oOptions)); });
    }
    if (oOptions.m_bOnce)
    {
        return finish([&] { writeOnce(oOptions); });
    }
    // Ready before the service answers: the caller does not wait for it.
    return platform::runProgram(describeProgram(oOptions),
                                [&](std::uint32_t a_uiLog, const std::function<void()>& a_oReady)
                                {
                                    a_oReady();
                                    follow(oOptions, a_uiLog);
                                });
}

} // namespace netifwatch
