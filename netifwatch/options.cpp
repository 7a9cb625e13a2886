#include "netifwatch/options.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <limits>

namespace netifwatch
{

namespace
{

constexpr int s_iUsageError = 2;
constexpr const char* s_pFooter = R"(What is written:
  StatusNetifWatch           a row per interface: its IPv4 address, and whether it
                             is up and has carrier
  StatusNetIfIPv6Addresses   a row per interface with an IPv6 address that others
                             can reach: no temporary, deprecated or untested one,
                             a public one before a unique-local one
  DNSClientServer            the DNS servers of each interface, from systemd-resolved
                             where it runs, else from resolv.conf. An interface for
                             which somebody else wrote rows is left to them.

Examples:
  netifwatch                         follow all interfaces, in the background
  netifwatch -f -i 'ppp*' -i eth1    only these, in the foreground
  netifwatch -x 'docker*' -x 'veth*' all but these
  netifwatch --print                 show what would be written; asks no service
  netifwatch --once --no-dns         write the state of the interfaces and end

It needs no privilege but a user whom the configuration service lets write.

Exit status: 0 done or stopped by a signal, 1 failed (the reason is on standard
error or in syslog), 2 wrong usage.)";

void declareChoices(CLI::App& a_oApp, Options& a_oOptions)
{
    a_oApp.add_option("-s,--socket", a_oOptions.m_strSocket, "Unix socket of the configuration service")
        ->capture_default_str();
    a_oApp
        .add_option("-i,--interface",
                    a_oOptions.m_oInterfaces,
                    "watch this interface, a name or a pattern as of a shell; may be repeated. Default: all but lo")
        ->type_name("NAME")
        ->allow_extra_args(false);
    a_oApp.add_option("-x,--exclude", a_oOptions.m_oExcluded, "leave this one out, likewise")
        ->type_name("NAME")
        ->allow_extra_args(false);
    auto* pNoDns = a_oApp.add_flag_callback(
        "--no-dns", [&a_oOptions] { a_oOptions.m_bDns = false; }, "leave table DNSClientServer alone");
    a_oApp.add_option("--resolv-conf", a_oOptions.m_strResolvConf, "where the DNS servers are read")
        ->type_name("FILE")
        ->capture_default_str()
        ->excludes(pNoDns);
    a_oApp
        .add_option("--state",
                    a_oOptions.m_strState,
                    "where it notes which rows of DNSClientServer are its own, to know them again")
        ->type_name("FILE")
        ->capture_default_str();
    a_oApp
        .add_option(
            "--event-buffer", a_oOptions.m_iEventBuffer, "room for events of the kernel that wait; 0: the system's")
        ->type_name("BYTES")
        ->check(CLI::Range(0, std::numeric_limits<int>::max() / 2));
}

void declareModes(CLI::App& a_oApp, Options& a_oOptions, std::string& a_strLevel)
{
    auto* pOnce = a_oApp.add_flag("--once", a_oOptions.m_bOnce, "write the state of this moment and end");
    auto* pPrint = a_oApp.add_flag(
        "--print,--dry-run", a_oOptions.m_bPrint, "print the rows of this moment and write nothing; needs no service");
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

} // namespace

std::optional<int> readOptions(int a_iCount, const char* const* a_ppArguments, Options& a_oOptions)
{
    CLI::App oApp("Keeps the state of the network interfaces in the configuration service's tables.", "netifwatch");
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
    for (std::string* pPath : {&a_oOptions.m_strSocket, &a_oOptions.m_strResolvConf, &a_oOptions.m_strState})
    {
        makeAbsolute(*pPath);
    }
    return std::nullopt;
}

} // namespace netifwatch
