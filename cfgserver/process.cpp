#include "cfgserver/process.h"

#include "cfgserver/database.h"
#include "cfgserver/server.h"
#include "platform/base/program.h"
#include "platform/common/log.h"
#include "platform/common/process.h"
#include "platform/common/stopsignals.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
#include <grp.h>
#include <optional>
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

constexpr int s_iFailure = 1; // the same as that of a failed start
constexpr int s_iUsageError = 2;

void declare(CLI::App& a_oApp, Options& a_oOptions, std::string& a_strLevel)
{
    a_oApp.add_option("-s,--socket", a_oOptions.m_strSocket, "Unix socket to listen on")->capture_default_str();
    a_oApp.add_option("-d,--database", a_oOptions.m_strDatabase, "SQLite file, mode 0600; \":memory:\" keeps nothing")
        ->capture_default_str();
    a_oApp.add_option("-g,--group", a_oOptions.m_strGroup, "let members of this group connect as well");
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

} // namespace

std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions)
{
    std::string strLevel = "info";
    CLI::App oApp("Configuration service: keeps the tables and tells clients what changed.", "cfgserver");
    declare(oApp, a_oOptions, strLevel);
    try
    {
        oApp.parse(a_iCount, a_ppArguments);
        a_oOptions.m_bDebug = strLevel == "debug";
        a_oOptions.m_strSocket = makeAbsolute(a_oOptions.m_strSocket);
        a_oOptions.m_strDatabase = makeAbsolute(a_oOptions.m_strDatabase);
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
