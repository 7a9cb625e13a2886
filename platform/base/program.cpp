#include "platform/base/program.h"

#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/base/servicemanager.h"
#include "platform/common/log.h"
#include "platform/common/reason.h"
#include "vadro/daemon.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace platform
{

namespace
{

constexpr char s_acLogFile[] = "process";

constexpr std::uint32_t s_uiAllTraceLevels = 1023;

/// The result of the start, from the detached process to the caller: one byte, followed by the reason of a failure. A
/// detached process that ends without a report has failed.
class StartReport
{
public:
    StartReport()
    {
        int aiEnds[2] = {-1, -1};
        if (::pipe2(aiEnds, O_CLOEXEC) != 0)
        {
            throw std::system_error(errno, std::generic_category(), "cannot detach");
        }
        m_oReadEnd = UniqueFd(aiEnds[0]);
        m_oWriteEnd = UniqueFd(aiEnds[1]);
    }

    /// In the detached process, once. Ignores a caller that is gone.
    void sendReady() { send(std::string(1, s_cReady)); }
    void sendFailure(const std::string& a_strReason) { send(s_cFailed + a_strReason); }

    /// In the caller: waits for the report. Throws std::runtime_error with the reason of a failure.
    void await()
    {
        m_oWriteEnd.reset();
        const std::string strReport = readAll();
        if (strReport.empty())
        {
            throw std::runtime_error("the background process ended unexpectedly; see syslog");
        }
        if (strReport.front() != s_cReady)
        {
            throw std::runtime_error(strReport.substr(1));
        }
    }

private:
    static constexpr char s_cReady = '+';
    static constexpr char s_cFailed = '-';

    // The read end stays open until then: without a reader, SIGPIPE would end the detached process.
    void send(const std::string& a_strReport)
    {
        static_cast<void>(writeAll(m_oWriteEnd.get(), a_strReport));
        m_oReadEnd.reset();
        m_oWriteEnd.reset();
    }

    [[nodiscard]] std::string readAll()
    {
        std::string strAll;
        std::array<char, 512> acBuffer = {};
        ssize_t iRead = 0;
        while ((iRead = readOnce(m_oReadEnd.get(), acBuffer.data(), acBuffer.size())) > 0)
        {
            strAll.append(acBuffer.data(), static_cast<std::size_t>(iRead));
        }
        return strAll;
    }

    UniqueFd m_oReadEnd;
    UniqueFd m_oWriteEnd;
};

/// Holds the PID file of the detached process, where one could be written.
class PidFile
{
public:
    PidFile(const VADRO_Daemon& a_oDaemon, bool a_bNeeded) : m_oDaemon(a_oDaemon)
    {
        VADRO_Daemon_deletePidFile(&m_oDaemon); // a stale one
        if (VADRO_Daemon_createPidFile(&m_oDaemon) != 0)
        {
            return;
        }
        checkAlone(m_oDaemon);
        if (a_bNeeded)
        {
            throw std::runtime_error("cannot write PID file " + m_oDaemon.m_strPidFile +
                                     " (see syslog); run as root, or in the foreground (-f), which needs none");
        }
    }
    ~PidFile() { VADRO_Daemon_deletePidFile(&m_oDaemon); }
    PidFile(const PidFile&) = delete;
    PidFile& operator=(const PidFile&) = delete;

    static void checkAlone(const VADRO_Daemon& a_oDaemon)
    {
        if (VADRO_Daemon_occupiedPidFile(&a_oDaemon) != 0)
        {
            throw std::runtime_error("already running, as " + a_oDaemon.m_strPidFile + " says; stop that one first");
        }
    }

private:
    VADRO_Daemon m_oDaemon;
};

int work(std::uint32_t a_uiLog, const std::function<void()>& a_oWork, const std::function<void(const char*)>& a_oFailed)
{
    try
    {
        a_oWork();
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        LOG_TO(a_uiLog, error, "%s", reasonOf(oError));
        a_oFailed(reasonOf(oError));
        return EXIT_FAILURE;
    }
}

void detach(const VADRO_Daemon& a_oDaemon)
{
    PidFile::checkAlone(a_oDaemon);
    if (VADRO_Daemon_daemonize(&a_oDaemon) == 0)
    {
        throw std::runtime_error("cannot detach (see syslog); the foreground (-f) needs no second process");
    }
}

int workDetached(const Program& a_oProgram, const Work& a_oWork, StartReport& a_oReport)
{
    VADRO_Daemon oDaemon;
    VADRO_Daemon_construct(&oDaemon, a_oProgram.m_strName.c_str(), a_oProgram.m_strPidFolder.c_str());
    const std::uint32_t uiLog = openLog(a_oProgram);
    const auto run = [&]
    {
        detach(oDaemon);
        const PidFile oPidFile(oDaemon, a_oProgram.m_bNeedsPidFile);
        a_oWork(uiLog, [&] { a_oReport.sendReady(); });
    };
    return work(uiLog, run, [&](const char* a_pReason) { a_oReport.sendFailure(a_pReason); });
}

/// Forks before the work, whose locks would not survive a fork.
int runInBackground(const Program& a_oProgram, const Work& a_oWork)
{
    try
    {
        StartReport oReport;
        const pid_t iChild = ::fork();
        if (iChild < 0)
        {
            throw std::system_error(errno, std::generic_category(), "cannot detach");
        }
        if (iChild == 0)
        {
            ::_exit(workDetached(a_oProgram, a_oWork, oReport));
        }
        while (::waitpid(iChild, nullptr, 0) < 0 && errno == EINTR) // it ends once it has detached or failed to
        {
        }
        oReport.await();
        return EXIT_SUCCESS;
    }
    catch (const std::exception& oError)
    {
        complain(a_oProgram.m_strName, reasonOf(oError));
        return EXIT_FAILURE;
    }
}

} // namespace

std::uint32_t openLog(const Program& a_oProgram)
{
    VADRO_Sysloglevel_construct2("", a_oProgram.m_strName.c_str());
    VADRO_Sysloglevel_set(a_oProgram.m_bForeground ? 0 : 1);
    VADRO_Sysloglevel_changeTracelevelAll(a_oProgram.m_bDebug ? s_uiAllTraceLevels : 0);
    return VADRO_Sysloglevel_registerModul(a_oProgram.m_strName.c_str());
}

void complain(const std::string& a_strProgram, const std::string& a_strText)
{
    writeStandardError(a_strProgram + ": " + escape(a_strText) + "\n");
}

int runProgram(const Program& a_oProgram, const Work& a_oWork)
{
    if (!a_oProgram.m_bForeground)
    {
        return runInBackground(a_oProgram, a_oWork);
    }
    const std::uint32_t uiLog = openLog(a_oProgram);
    return work(
        uiLog, [&] { a_oWork(uiLog, [] { reportReady(); }); }, [](const char*) {});
}

} // namespace platform
