// The cost of one update: the daemon's actions, built, run and destroyed as in the daemon, against the least that a
// program must do for the same request.
//   bench_update https URL CERTIFICATE INTERFACE DNS CHUNKS RUNS          daemon's action and floor, by turns
//   bench_update https-action|https-floor URL CERTIFICATE INTERFACE DNS CHUNKS RUNS   one of them
//   bench_update https-floors URL CERTIFICATE INTERFACE DNS CHUNKS RUNS   the latter, all runs of a chunk at once
//   bench_update gnudip SERVER ADDRESS INTERFACE DNS LOCAL CHUNKS RUNS   SERVER is a name or ADDRESS itself
//   bench_update gnudip-action|gnudip-floor SERVER ADDRESS INTERFACE DNS LOCAL CHUNKS RUNS
#include "actions/curlaction.h"
#include "actions/gnudipaction.h"
#include "actions/libwrapper.h"
#include "bench/programs/floors.h"
#include "bench/programs/measure.h"
#include "daemon/certificates.h"
#include "daemon/environment.h"

#include <cstring>
#include <thread>
#include <vector>

namespace
{

using Words = std::vector<std::string>;

void runCurlAction(const Words& a_oWords)
{
    quorvad::CurlAction oAction(a_oWords[2], "10.64.0.2", "", "h", "", "", "S", "", a_oWords[4], a_oWords[5], 1);
    if (!oAction.execute())
    {
        bench::fail("The HTTPS update was refused.");
    }
}

void runGnudipAction(const Words& a_oWords)
{
    quorvad::GnudipAction oAction(
        a_oWords[2], a_oWords[4], a_oWords[6], "alice.dyn.example.org", "alice", "word", a_oWords[5], 1);
    if (!oAction.execute())
    {
        bench::fail("The GnuDIP update was refused.");
    }
}

/// Alternates, so that other load on the machine affects both.
void compare(const std::function<void()>& a_oAction, const std::function<void()>& a_oFloor, int a_iChunks, int a_iRuns)
{
    bench::Cost oAction;
    bench::Cost oFloor;
    for (int iChunk = 0; iChunk < a_iChunks; ++iChunk)
    {
        for (auto& [oCost, oWork] : {std::pair{&oAction, &a_oAction}, std::pair{&oFloor, &a_oFloor}})
        {
            const bench::Cost oOne = bench::measure(1, a_iRuns, *oWork);
            oCost->m_oCpu.push_back(oOne.m_oCpu.front());
            oCost->m_oWall.push_back(oOne.m_oWall.front());
        }
    }
    bench::Report oReport;
    oReport.add("action", oAction);
    oReport.add("floor", oFloor);
    oReport.print();
}

/// Each on a thread of its own.
void runAtOnce(const std::function<void()>& a_oWork, int a_iRuns)
{
    std::vector<std::thread> oThreads(static_cast<std::size_t>(a_iRuns));
    for (std::thread& oThread : oThreads)
    {
        oThread = std::thread(a_oWork);
    }
    for (std::thread& oThread : oThreads)
    {
        oThread.join();
    }
}

void run(const Words& a_oWords)
{
    const quorvad::LibWrapper oLibraries;
    const std::string& strMode = a_oWords[1];
    const int iRuns = bench::toNumber(a_oWords.back());
    const int iChunks = bench::toNumber(a_oWords[a_oWords.size() - 2]);
    const auto oHttps = [&] { runCurlAction(a_oWords); };
    const auto oHttpsFloor = [&] { bench::httpsFloor(a_oWords[2], a_oWords[3]); };
    const auto oGnudip = [&] { runGnudipAction(a_oWords); };
    const auto oGnudipFloor = [&] { bench::gnudipFloor(a_oWords[3], "alice", "dyn.example.org", "word"); };
    if (strMode == "https")
    {
        compare(oHttps, oHttpsFloor, iChunks, iRuns);
    }
    else if (strMode == "gnudip")
    {
        compare(oGnudip, oGnudipFloor, iChunks, iRuns);
    }
    else if (strMode == "https-floors")
    {
        bench::Report oReport;
        oReport.add("together", bench::measure(iChunks, 1, [&] { runAtOnce(oHttpsFloor, iRuns); }));
        oReport.print();
    }
    else
    {
        const std::function<void()> oWork = strMode == "gnudip-action"  ? std::function<void()>(oGnudip)
                                            : strMode == "gnudip-floor" ? std::function<void()>(oGnudipFloor)
                                            : strMode == "https-action" ? std::function<void()>(oHttps)
                                                                        : std::function<void()>(oHttpsFloor);
        bench::Report oReport;
        oReport.add("alone", bench::measure(iChunks, iRuns, oWork));
        oReport.print();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Words oWords(argv, argv + argc);
    if (oWords.size() != (argc > 1 && std::strncmp(argv[1], "gnudip", 6) == 0 ? 9U : 8U))
    {
        bench::fail("usage: see bench/programs/update.cpp");
    }
    quorvad::cleanEnvironment();
    const quorvad::Certificates oCertificates;
    run(oWords);
    return 0;
}
