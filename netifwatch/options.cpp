#include "netifwatch/options.h"

#include "platform/base/escape.h"
#include "platform/common/helpformatter.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <limits>

namespace netifwatch
{

namespace
{

constexpr int s_iUsageError = 2;
constexpr const char* s_pFooter = R"(What is written:
  StatusNetifWatch          a row per interface: its IPv4 address, and whether
                            it is up and has carrier
  StatusNetIfIPv6Addresses  a row per interface with an IPv6 address that others
                            can reach: no temporary, deprecated or untested one,
                            a public one before a unique-local one
  DNSClientServer           the DNS servers of each interface, if known from
                            systemd-resolved, else from resolv.conf. Interfaces
                            with rows of anybody else are left alone.

Examples:
  netifwatch                          follow all interfaces, in the background
  netifwatch -f -i 'ppp*' -i eth1     only these, in the foreground
  netifwatch -x 'docker*' -x 'veth*'  all but these
  netifwatch --print                  show what would be written
  netifwatch --once --no-dns          write the state of the interfaces and exit

No privilege is needed except write access to the configuration service.

Exit status: 0 done or stopped by a signal, 1 failed (the reason is on standard
error or in syslog), 2 wrong usage.)";

void declareChoices(CLI::App& a_oApp, Options& a_oOptions)
{
    a_oApp.add_option("-s,--socket", a_oOptions.m_strSocket, "Unix socket of the configuration service")
        ->capture_default_str();
    a_oApp
        .add_option("-i,--interface",
                    a_oOptions.m_oInterfaces.m_oIncluded,
                    "watch this interface (name or shell pattern); may be repeated. Default: all but lo")
        ->type_name("NAME")
        ->allow_extra_args(false);
    a_oApp.add_option("-x,--exclude", a_oOptions.m_oInterfaces.m_oExcluded, "do not watch this interface (likewise)")
        ->type_name("NAME")
        ->allow_extra_args(false);
    auto* pNoDns = a_oApp.add_flag_callback(
        "--no-dns", [&a_oOptions] { a_oOptions.m_bDns = false; }, "leave table DNSClientServer alone");
    a_oApp
        .add_option("--resolv-conf",
                    a_oOptions.m_strResolvConf,
                    "file with the DNS servers, read unless systemd-resolved knows them")
        ->type_name("FILE")
        ->capture_default_str()
        ->excludes(pNoDns);
    a_oApp.add_option("--state", a_oOptions.m_strState)->group(""); // hidden: command lines of earlier versions have it
    a_oApp
        .add_option("--event-buffer", a_oOptions.m_iEventBuffer, "socket buffer for kernel events; 0: system default")
        ->type_name("BYTES")
        ->check(CLI::Range(0, std::numeric_limits<int>::max() / 2));
}

void declareModes(CLI::App& a_oApp, Options& a_oOptions, std::string& a_strLevel)
{
    auto* pOnce = a_oApp.add_flag("--once", a_oOptions.m_bOnce, "write the current state and exit");
    auto* pPrint = a_oApp.add_flag(
        "--print,--dry-run", a_oOptions.m_bPrint, "print the current rows and write nothing; needs no service");
    pPrint->excludes(pOnce);
    a_oApp.add_flag("--json", a_oOptions.m_bJson, "print as JSON")->needs(pPrint);
    a_oApp.add_flag(
        "-f,--foreground", a_oOptions.m_bForeground, "stay in the foreground, log to standard error as well");
    a_oApp.add_flag("-d,--debug", a_oOptions.m_bDebug, "the same as --log-level debug");
    a_oApp.add_option("-l,--log-level", a_strLevel, "\"info\" or \"debug\"")
        ->capture_default_str()
        ->check(CLI::IsMember({"info", "debug"}));
    a_oApp.set_version_flag("-v,--version", "netifwatch " QUORVAD_VERSION);
}

/// The detached process works in "/".
void makeAbsolute(std::string& a_strPath)
{
    std::error_code oError;
    const std::filesystem::path oPath = std::filesystem::absolute(a_strPath, oError);
    a_strPath = oError ? a_strPath : oPath.lexically_normal().string();
}

bool matchesAny(const std::vector<std::string>& a_oPatterns, const std::string& a_strName)
{
    return std::any_of(a_oPatterns.begin(),
                       a_oPatterns.end(),
                       [&](const std::string& a_strPattern)
                       { return fnmatch(a_strPattern.c_str(), a_strName.c_str(), 0) == 0; });
}

} // namespace

std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions)
{
    CLI::App oApp("Keeps the state of the network interfaces in the configuration service's tables.", "netifwatch");
    oApp.formatter(std::make_shared<platform::HelpFormatter>());
    std::string strLevel = "info";
    declareChoices(oApp, a_oOptions);
    declareModes(oApp, a_oOptions, strLevel);
    oApp.footer(s_pFooter);
    try
    {
        oApp.parse(a_iCount, a_ppArguments);
    }
    catch (const CLI::ParseError& oEnd)
    {
        return oApp.exit(oEnd) == 0 ? 0 : s_iUsageError;
    }
    a_oOptions.m_bDebug = a_oOptions.m_bDebug || strLevel == "debug";
    makeAbsolute(a_oOptions.m_strSocket);
    makeAbsolute(a_oOptions.m_strResolvConf);
    if (!a_oOptions.m_strState.empty())
    {
        makeAbsolute(a_oOptions.m_strState);
    }
    return std::nullopt;
}

bool InterfaceFilter::accepts(const std::string& a_strName) const
{
    const bool bIncluded = m_oIncluded.empty() ? a_strName != "lo" : matchesAny(m_oIncluded, a_strName);
    return bIncluded && !matchesAny(m_oExcluded, a_strName) && platform::isUtf8(a_strName);
}

} // namespace netifwatch
