#pragma once

#include <csignal>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

/// A process that runs a function and exits with its result; it ends itself after a minute, is killed and reaped with
/// the object.
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
        sendSignal(SIGKILL); // not reaped yet: nobody else has that id
        waitpid(m_iPid, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void sendSignal(int a_iSignal) const { kill(m_iPid, a_iSignal); }
    /// Its exit status, or minus the signal that ended it; it stays a zombie.
    [[nodiscard]] int wait() const
    {
        siginfo_t oInfo{};
        waitid(P_PID, static_cast<id_t>(m_iPid), &oInfo, WEXITED | WNOWAIT);
        return oInfo.si_code == CLD_EXITED ? oInfo.si_status : -oInfo.si_status;
    }

    const pid_t m_iPid;
};
