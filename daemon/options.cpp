#include "daemon/options.h"

#include "actions/version.h"

#include <cstdio>
#include <cstdlib>
#include <getopt.h>

namespace quorvad
{

void printUsage(const char* a_pProgram)
{
    std::printf("Usage: %s [OPTION]\n", a_pProgram);
    std::puts("  -h : prints this help");
    std::puts("  -f : starts application in foreground");
    std::puts("  -d : enable debug logging ");
    std::puts("  -v : prints version information");
    std::puts("  -p : sets PID filename without extension");
}

namespace
{

void applyOption(Options& a_oOptions, int a_iOption, const char* a_pProgram)
{
    switch (a_iOption)
    {
    case 'h':
        printUsage(a_pProgram);
        std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): no other thread yet
    case 'f':
        a_oOptions.m_bDaemonize = false;
        break;
    case 'd':
        a_oOptions.m_bDebug = true;
        break;
    case 'v':
        std::puts(g_acVersion);
        std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): no other thread yet
    case 'p':
        a_oOptions.m_strPidName = optarg;
        break;
    default:
        std::fputs("Wrong option\n", stderr);
        printUsage(a_pProgram);
        std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): no other thread yet
    }
}

} // namespace

void parseOptions(Options& a_oOptions, int a_iArgc, char** a_ppArgv)
{
    a_oOptions = Options();
    for (;;)
    {
        const int iOption = getopt(a_iArgc, a_ppArgv, "hfvdp:"); // NOLINT(concurrency-mt-unsafe): no other thread yet
        if (iOption == -1)
        {
            return;
        }
        applyOption(a_oOptions, iOption, a_ppArgv[0]);
    }
}

} // namespace quorvad
