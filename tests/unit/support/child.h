#pragma once

#include <csignal>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

/// A child process that runs a function and exits with its result. An alarm ends it after a minute at the latest; the
/// destructor kills and reaps it.
class Child
{
public:
    explicit Child(const std::function<int()>& a_oBody) : m_iPid(fork())
    {
        if (m_iPid == 0)
        {
            alarm(60);
            _exit(a_oBody());
        }
    }
    ~Child()
    {
        sendSignal(SIGKILL); // not reaped yet, so the id is still its own
        waitpid(m_iPid, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void sendSignal(int a_iSignal) const { kill(m_iPid, a_iSignal); }
    /// The exit status, or the negated signal that ended it. The child stays a zombie.
    [[nodiscard]] int wait() const
    {
        siginfo_t oInfo{};
        waitid(P_PID, static_cast<id_t>(m_iPid), &oInfo, WEXITED | WNOWAIT);
        return oInfo.si_code == CLD_EXITED ? oInfo.si_status : -oInfo.si_status;
    }

    const pid_t m_iPid;
};
