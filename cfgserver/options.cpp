#include "cfgserver/options.h"

#include "platform/base/escape.h"
#include "platform/base/io.h"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace cfgserver
{

namespace
{

constexpr int s_iFailure = 1; // the same as that of a failed start
constexpr int s_iUsageError = 2;

void declare(CLI::App& a_oApp, Options& a_oOptions, std::string& a_strLevel)
{
    a_oApp.add_option("-s,--socket", a_oOptions.m_strSocket, "Unix socket to serve")->capture_default_str();
    a_oApp.add_option("-d,--database", a_oOptions.m_strDatabase, "SQLite file, mode 0600; \":memory:\" keeps nothing")
        ->capture_default_str();
    a_oApp.add_option("-g,--group", a_oOptions.m_strGroup, "let the members of this group connect, too");
    a_oApp.add_flag(
        "-f,--foreground", a_oOptions.m_bForeground, "stay in the foreground, log to standard error as well");
    a_oApp.add_option("-l,--log-level", a_strLevel, "\"info\" or \"debug\"")
        ->capture_default_str()
        ->check(CLI::IsMember({"info", "debug"}));
    a_oApp.set_version_flag("-v,--version", "cfgserver " QUORVAD_VERSION);
}

/// The detached process works in "/".
std::string makeAbsolute(const std::string& a_strPath)
{
    return a_strPath.empty() || a_strPath == ":memory:" ? a_strPath : std::filesystem::absolute(a_strPath).string();
}

} // namespace

std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions)
{
    CLI::App oApp("Configuration service: keeps the tables and tells clients what changed.", "cfgserver");
    std::string strLevel = "info";
    declare(oApp, a_oOptions, strLevel);
    try
    {
        oApp.parse(a_iCount, a_ppArguments);
    }
    catch (const CLI::ParseError& oEnd)
    {
        return oApp.exit(oEnd) == 0 ? 0 : s_iUsageError;
    }
    a_oOptions.m_bDebug = strLevel == "debug";
    try
    {
        a_oOptions.m_strSocket = makeAbsolute(a_oOptions.m_strSocket);
        a_oOptions.m_strDatabase = makeAbsolute(a_oOptions.m_strDatabase);
    }
    catch (const std::filesystem::filesystem_error& oError)
    {
        platform::writeStandardError("cfgserver: can't tell where '" + platform::escape(oError.path1().string()) +
                                     "' is: " + oError.code().message() +
                                     "; name it from / on, or change the folder\n");
        return s_iFailure;
    }
    return std::nullopt;
}

} // namespace cfgserver
