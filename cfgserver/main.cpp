#include "cfgserver/process.h"
#include "platform/base/program.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <stdexcept>

namespace
{

using cfgserver::Options;

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

int main(int a_iCount, char** a_ppArguments)
{
    Options oOptions;
    std::string strLevel = "info";
    CLI::App oApp("Configuration service: keeps the tables and tells clients what changed.", "cfgserver");
    declare(oApp, oOptions, strLevel);
    try
    {
        oApp.parse(a_iCount, a_ppArguments);
        oOptions.m_bDebug = strLevel == "debug";
        oOptions.m_strSocket = makeAbsolute(oOptions.m_strSocket);
        oOptions.m_strDatabase = makeAbsolute(oOptions.m_strDatabase);
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
    return cfgserver::runProcess(oOptions);
}
