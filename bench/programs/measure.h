#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench
{

/// Microseconds of processor time of the whole process since its start.
[[nodiscard]] double cpuMicros();
/// Microseconds of the steady clock.
[[nodiscard]] double wallMicros();

/// The cost of a piece of work in microseconds: the average of each chunk of runs.
struct Cost
{
    std::vector<double> m_oCpu;
    std::vector<double> m_oWall;
};

/// Runs the work once unmeasured, then in chunks.
[[nodiscard]] Cost measure(int a_iChunks, int a_iRunsPerChunk, const std::function<void()>& a_oWork);

/// One line of JSON: {"name": [..], ...}.
class Report
{
public:
    void add(const std::string& a_strName, const std::vector<double>& a_oValues);
    void add(const std::string& a_strName, const Cost& a_oCost);
    void print() const;

private:
    std::string m_strText;
};

/// An integer argument; anything else ends the program.
[[nodiscard]] int toNumber(const std::string& a_strText);

/// Ends the program with the text on standard error.
[[noreturn]] void fail(const std::string& a_strText);

} // namespace bench
