#include "bench/programs/measure.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace bench
{

namespace
{

double micros(clockid_t a_iClock)
{
    timespec oTime = {};
    clock_gettime(a_iClock, &oTime);
    return static_cast<double>(oTime.tv_sec) * 1e6 + static_cast<double>(oTime.tv_nsec) / 1e3;
}

} // namespace

double cpuMicros()
{
    return micros(CLOCK_PROCESS_CPUTIME_ID);
}

double wallMicros()
{
    return micros(CLOCK_MONOTONIC);
}

Cost measure(int a_iChunks, int a_iRunsPerChunk, const std::function<void()>& a_oWork)
{
    a_oWork();
    Cost oCost;
    for (int iChunk = 0; iChunk < a_iChunks; ++iChunk)
    {
        const double dWall = wallMicros();
        const double dCpu = cpuMicros();
        for (int iRun = 0; iRun < a_iRunsPerChunk; ++iRun)
        {
            a_oWork();
        }
        oCost.m_oCpu.push_back((cpuMicros() - dCpu) / a_iRunsPerChunk);
        oCost.m_oWall.push_back((wallMicros() - dWall) / a_iRunsPerChunk);
    }
    return oCost;
}

void Report::add(const std::string& a_strName, const std::vector<double>& a_oValues)
{
    m_strText += (m_strText.empty() ? "\"" : ", \"") + a_strName + "\": [";
    const char* pSeparator = "";
    for (const double dValue : a_oValues)
    {
        m_strText += pSeparator + std::to_string(dValue);
        pSeparator = ", ";
    }
    m_strText += "]";
}

void Report::add(const std::string& a_strName, const Cost& a_oCost)
{
    add(a_strName + "_cpu", a_oCost.m_oCpu);
    add(a_strName + "_wall", a_oCost.m_oWall);
}

void Report::print() const
{
    std::printf("{%s}\n", m_strText.c_str());
}

int toNumber(const std::string& a_strText)
{
    char* pEnd = nullptr;
    const long iNumber = std::strtol(a_strText.c_str(), &pEnd, 10);
    if (a_strText.empty() || *pEnd != '\0' || iNumber < 1 || iNumber > INT_MAX)
    {
        fail("Not a number: '" + a_strText + "'");
    }
    return static_cast<int>(iNumber);
}

void fail(const std::string& a_strText)
{
    std::fprintf(stderr, "%s\n", a_strText.c_str());
    std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): these programs have no other threads
}

} // namespace bench
