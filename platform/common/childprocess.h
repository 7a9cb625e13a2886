#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace platform
{

/// A program that runs beside this one: no shell, a process group of its own, standard input empty, standard output and
/// error as here, no other descriptor of this process that closes at exec. Made, used and destroyed on one thread.
class ChildProcess
{
public:
    /// @param a_oCommand the program, which is looked up in PATH if its name has no '/', and its arguments
    /// @param a_oVariables "NAME=value", set in addition to this process's environment
    /// Throws std::system_error if the program cannot be started. Does not wait for it.
    ChildProcess(const std::vector<std::string>& a_oCommand, const std::vector<std::string>& a_oVariables);
    /// Ends its process group if it still runs; blocks for less than a second.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The status, as waitpid gives it, once the program has ended. Does not block.
    [[nodiscard]] std::optional<int> getStatus();
    /// Sends a signal to its process group unless it has ended.
    void send(int a_iSignal);

    /// From here on the end of a child wakes the loop that a LoopWakeUp names. Once, before the first child.
    static void wakeLoopAtEnd();

private:
    bool waitUntilEnded(std::chrono::milliseconds a_oTime);

    pid_t m_iPid = -1;
    std::optional<int> m_oStatus;
};

} // namespace platform
