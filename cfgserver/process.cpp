#include "cfgserver/process.h"

#include "cfgserver/database.h"
#include "cfgserver/server.h"
#include "cfgserver/statefile.h"
#include "platform/base/program.h"
#include "platform/common/helpformatter.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "platform/common/stopsignals.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <grp.h>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>

namespace cfgserver
{

namespace
{

struct Options
{
    std::string m_strSocket = "/tmp/cfgserver.socket";
    std::string m_strDatabase = "/var/lib/quorvad/config.db";
    std::string m_strRuntime; ///< empty: none
    std::string m_strGroup;   ///< empty: none
    bool m_bForeground = false;
    bool m_bDebug = false;
};

constexpr char s_acLogFile[] = "process";

std::optional<gid_t> findGroup(const std::string& a_strName)
{
    if (a_strName.empty())
    {
        return std::nullopt;
    }
    // cppcheck-suppress getgrnamCalled ; only one thread
    const group* const pGroup = ::getgrnam(a_strName.c_str()); // NOLINT(concurrency-mt-unsafe): there is one thread
    if (pGroup == nullptr)
    {
        throw std::runtime_error("no such group: '" + a_strName + "'");
    }
    return pGroup->gr_gid;
}

/// A dead client and a full disk are error codes, not reasons to die; in the background it outlives its terminal.
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

/// From the first file to the stop signal. Throws whatever prevents the service.
void serve(const Options& a_oOptions, std::uint32_t a_uiLog, const std::function<void()>& a_oReady)
{
    platform::EventLoop oLoop;
    const platform::StopSignals oSignals = watchSignals(oLoop, a_oOptions.m_bForeground);
    const std::optional<gid_t> oGroup = findGroup(a_oOptions.m_strGroup);
    // The socket comes first and goes last: a second start fails on it with the reason, before it creates a database.
    ServiceSocket oSocket(a_oOptions.m_strSocket, oGroup);
    Database oDatabase(a_oOptions.m_strDatabase);
    StateFile oState(a_oOptions.m_strRuntime);
    Store oStore(oDatabase, &oState);
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

constexpr int s_iFailure = 1; // the same as that of a failed start
constexpr int s_iUsageError = 2;

void declare(CLI::App& a_oApp, Options& a_oOptions, std::string& a_strLevel)
{
    a_oApp.add_option("-s,--socket", a_oOptions.m_strSocket, "Unix socket to listen on")->capture_default_str();
    a_oApp.add_option("-d,--database", a_oOptions.m_strDatabase, "SQLite file, mode 0600; \":memory:\" keeps nothing")
        ->capture_default_str();
    a_oApp.add_option(
        "-r,--runtime", a_oOptions.m_strRuntime, "folder in memory that keeps the state tables over a restart");
    a_oApp.add_option("-g,--group", a_oOptions.m_strGroup, "also let members of this group connect");
    a_oApp.add_flag(
        "-f,--foreground", a_oOptions.m_bForeground, "stay in the foreground, log to standard error as well");
    a_oApp.add_option("-l,--log-level", a_strLevel, "\"info\" or \"debug\"")
        ->capture_default_str()
        ->check(CLI::IsMember({"info", "debug"}));
    a_oApp.set_version_flag("-v,--version", "cfgserver " QUORVAD_VERSION);
}

/// The detached process works in "/". Throws std::runtime_error for a relative path in a folder that is gone.
std::string makeAbsolute(const std::string& a_strPath)
{
    if (a_strPath.empty() || a_strPath == ":memory:")
    {
        return a_strPath;
    }
    std::error_code oError;
    const std::filesystem::path oPath = std::filesystem::absolute(a_strPath, oError);
    if (oError)
    {
        throw std::runtime_error("cannot resolve relative path '" + a_strPath + "' (" + oError.message() +
                                 "); use an absolute path, or change the directory");
    }
    return oPath.string();
}

/// Makes paths absolute. Returns the exit status if there is nothing to run: help, version or the error were printed.
std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions)
{
    std::string strLevel = "info";
    CLI::App oApp("Configuration service: stores the tables and notifies clients of changes.", "cfgserver");
    oApp.formatter(std::make_shared<platform::HelpFormatter>());
    declare(oApp, a_oOptions, strLevel);
    try
    {
        oApp.parse(a_iCount, a_ppArguments);
        a_oOptions.m_bDebug = strLevel == "debug";
        a_oOptions.m_strSocket = makeAbsolute(a_oOptions.m_strSocket);
        a_oOptions.m_strDatabase = makeAbsolute(a_oOptions.m_strDatabase);
        a_oOptions.m_strRuntime = makeAbsolute(a_oOptions.m_strRuntime);
        return std::nullopt;
    }
    catch (const CLI::ParseError& oEnd)
    {
        return oApp.exit(oEnd) == 0 ? 0 : s_iUsageError;
    }
    catch (const std::exception& oError)
    {
        platform::complain("cfgserver", oError.what());
        return s_iFailure;
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
    ::umask(S_IRWXG | S_IRWXO);
    platform::occupyStandardDescriptors();
    platform::keepMemoryPrivate();
    constexpr bool bNeedsPidFile = true;
    return platform::runProgram({"cfgserver", oOptions.m_bForeground, oOptions.m_bDebug, bNeedsPidFile},
                                [&](std::uint32_t a_uiLog, const std::function<void()>& a_oReady)
                                { serve(oOptions, a_uiLog, a_oReady); });
}

} // namespace cfgserver
