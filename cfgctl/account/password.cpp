#include "cfgctl/account/password.h"

#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "platform/base/io.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr std::array s_aiSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};
constexpr std::size_t s_uiLongest = 4094; // a terminal silently cuts a line to 4095 bytes

volatile std::sig_atomic_t s_iSignal = 0;

extern "C" void noteSignal(int a_iSignal)
{
    s_iSignal = a_iSignal;
}

/// Notes signals, which are delivered only while the program waits for input; ignored ones stay ignored.
class SignalsNoted
{
public:
    SignalsNoted()
    {
        sigset_t oSet;
        sigemptyset(&oSet);
        for (const int iSignal : s_aiSignals)
        {
            sigaddset(&oSet, iSignal);
        }
        sigprocmask(SIG_BLOCK, &oSet, &m_oMask);
        s_iSignal = 0;
        for (std::size_t uiAt = 0; uiAt < s_aiSignals.size(); ++uiAt)
        {
            struct sigaction oAction = {};
            oAction.sa_handler = noteSignal;
            sigaction(s_aiSignals.at(uiAt), nullptr, &m_aoOld.at(uiAt));
            if (m_aoOld.at(uiAt).sa_handler != SIG_IGN)
            {
                sigaction(s_aiSignals.at(uiAt), &oAction, nullptr);
            }
        }
    }
    ~SignalsNoted()
    {
        for (std::size_t uiAt = 0; uiAt < s_aiSignals.size(); ++uiAt)
        {
            sigaction(s_aiSignals.at(uiAt), &m_aoOld.at(uiAt), nullptr);
        }
        sigprocmask(SIG_SETMASK, &m_oMask, nullptr);
    }
    SignalsNoted(const SignalsNoted&) = delete;
    SignalsNoted& operator=(const SignalsNoted&) = delete;

    /// Waits for input with the signals unblocked; false if one arrived.
    [[nodiscard]] bool waitForInput() const
    {
        pollfd oInput{STDIN_FILENO, POLLIN, 0};
        while (s_iSignal == 0 && ppoll(&oInput, 1, nullptr, &m_oMask) < 0 && errno == EINTR)
        {
        }
        return s_iSignal == 0;
    }

private:
    sigset_t m_oMask{};
    std::array<struct sigaction, s_aiSignals.size()> m_aoOld{};
};

/// Turns off the terminal's echo of all but the line end.
class EchoOff
{
public:
    EchoOff()
    {
        if (tcgetattr(STDIN_FILENO, &m_oOld) != 0)
        {
            throw Failure(std::string("Cannot read from the terminal: ") + std::strerror(errno));
        }
        termios oQuiet = m_oOld;
        oQuiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        oQuiet.c_lflag |= ICANON | ECHONL;
        oQuiet.c_iflag |= ICRNL;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &oQuiet);
    }
    ~EchoOff() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_oOld); }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios m_oOld{};
};

/// Ends the line of a question to which no line end was typed, as at Ctrl-D.
void endQuestion(bool a_bAnswered)
{
    if (!a_bAnswered)
    {
        static_cast<void>(platform::writeAll(STDERR_FILENO, "\n"));
    }
}

/// Reads a line from the terminal; false if a signal came first. Throws Failure at the end of the input.
bool readLine(const SignalsNoted& a_oSignals, std::string& a_strLine)
{
    a_strLine.clear();
    while (a_strLine.empty() || a_strLine.back() != '\n')
    {
        if (!a_oSignals.waitForInput())
        {
            return false;
        }
        std::array<char, 512> oBuffer{};
        const ssize_t iRead = read(STDIN_FILENO, oBuffer.data(), oBuffer.size());
        const bool bRead = iRead > 0 || (iRead < 0 && errno == EINTR);
        endQuestion(bRead);
        require(bRead, "No password was entered; nothing was written");
        a_strLine.append(oBuffer.data(), iRead < 0 ? 0 : static_cast<std::size_t>(iRead));
    }
    a_strLine.pop_back();
    require(a_strLine.size() <= s_uiLongest,
            "The password is longer than " + std::to_string(s_uiLongest) + " bytes: use --password-file");
    return true;
}

bool askOnce(const std::string& a_strQuestion, std::string& a_strLine)
{
    const SignalsNoted oSignals;
    const EchoOff oEchoOff;
    static_cast<void>(platform::writeAll(STDERR_FILENO, a_strQuestion));
    return readLine(oSignals, a_strLine);
}

/// A signal takes its usual effect after the terminal is restored; if the program continues, the question is repeated.
std::string ask(const std::string& a_strQuestion)
{
    std::string strLine;
    while (!askOnce(a_strQuestion, strLine))
    {
        static_cast<void>(platform::writeAll(STDERR_FILENO, "\n"));
        static_cast<void>(std::raise(s_iSignal));
    }
    return strLine;
}

} // namespace

std::string readPassword(const std::string& a_strFile, const std::string& a_strQuestion)
{
    if (!a_strFile.empty())
    {
        return readValue(a_strFile);
    }
    require(isatty(STDIN_FILENO) != 0,
            "No terminal to ask for the password: use --password-file FILE, or '--password-file -' for standard input");
    return ask(a_strQuestion);
}

bool confirm(const std::string& a_strQuestion, const std::string& a_strInstead)
{
    require(isatty(STDIN_FILENO) != 0, "No terminal to ask on; use " + a_strInstead);
    static_cast<void>(platform::writeAll(STDERR_FILENO, a_strQuestion + " [y/N] "));
    std::array<char, 64> oBuffer{};
    const ssize_t iRead = read(STDIN_FILENO, oBuffer.data(), oBuffer.size());
    endQuestion(iRead > 0);
    const std::string strAnswer(oBuffer.data(), iRead < 0 ? 0 : static_cast<std::size_t>(iRead));
    return strAnswer == "y\n" || strAnswer == "Y\n" || strAnswer == "yes\n";
}

} // namespace cfgctl
