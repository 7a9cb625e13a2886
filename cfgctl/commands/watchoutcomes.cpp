#include "cfgctl/answer.h"
#include "cfgctl/commands/watch.h"
#include "cfgctl/database.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/logrows.h"
#include "platform/base/escape.h"
#include "platform/common/childprocess.h"
#include "platform/common/deadline.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <map>
#include <optional>
#include <sstream>
#include <system_error>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiMostWaiting = 100;
constexpr std::chrono::seconds s_oGrace{1}; ///< from SIGTERM to SIGKILL, for a program that runs too long

/// One run of the program.
struct Task
{
    std::vector<std::string> m_oVariables;
    std::string m_strName; ///< for messages
};

std::string describeEnd(int a_iStatus)
{
    if (WIFSIGNALED(a_iStatus))
    {
        return "was ended by signal " + std::to_string(WTERMSIG(a_iStatus)) + " (" + strsignal(WTERMSIG(a_iStatus)) +
               ")";
    }
    return "ended with status " + std::to_string(WEXITSTATUS(a_iStatus));
}

/// Runs a program for one task after the other. What goes wrong is told on standard error.
class Runner
{
public:
    explicit Runner(const Options& a_oOptions) : m_oOptions(a_oOptions) {}

    void add(Task a_oTask)
    {
        if (m_oWaiting.size() >= s_uiMostWaiting)
        {
            complain("Too many outcomes are waiting for '" + m_oOptions.m_oExec.front() +
                     "'; left out: " + m_oWaiting.front().m_strName);
            m_oWaiting.pop_front();
        }
        m_oWaiting.push_back(std::move(a_oTask));
    }
    /// Returns after how many milliseconds it wants to be called again, unless a program ends before.
    int work()
    {
        reap();
        while (!m_oChild && !m_oWaiting.empty() && !isDone())
        {
            start();
        }
        if (m_oChild && m_oDeadline->hasPassed())
        {
            endSlow();
        }
        return m_oChild ? m_oDeadline->getRemainingMs() : INT_MAX;
    }
    [[nodiscard]] unsigned getRuns() const { return m_uiRuns; }
    [[nodiscard]] bool isDone() const { return m_oOptions.m_uiCount > 0 && m_uiRuns >= m_oOptions.m_uiCount; }

private:
    void reap()
    {
        const std::optional<int> oStatus = m_oChild ? m_oChild->getStatus() : std::nullopt;
        if (!oStatus)
        {
            return;
        }
        if (*oStatus != 0)
        {
            report(describeEnd(*oStatus));
        }
        m_oChild.reset();
        ++m_uiRuns;
    }
    void start()
    {
        m_oRunning = std::move(m_oWaiting.front());
        m_oWaiting.pop_front();
        m_bSlow = false;
        m_oDeadline.emplace(std::chrono::seconds(m_oOptions.m_uiExecLimitSec));
        try
        {
            m_oChild.emplace(m_oOptions.m_oExec, m_oRunning.m_oVariables);
        }
        catch (const std::system_error& oError)
        {
            report("was not started: " + oError.code().message());
            ++m_uiRuns;
        }
    }
    void endSlow()
    {
        if (!m_bSlow)
        {
            report("runs for more than " + std::to_string(m_oOptions.m_uiExecLimitSec) + " s and is ended");
        }
        m_oChild->send(m_bSlow ? SIGKILL : SIGTERM);
        m_bSlow = true;
        m_oDeadline.emplace(s_oGrace);
    }
    void report(const std::string& a_strWhat) const
    {
        complain("'" + m_oOptions.m_oExec.front() + "' " + a_strWhat + "; it was run for " + m_oRunning.m_strName);
    }

    const Options& m_oOptions;
    std::deque<Task> m_oWaiting;
    Task m_oRunning;
    std::optional<platform::ChildProcess> m_oChild;
    std::optional<platform::Deadline> m_oDeadline;
    bool m_bSlow = false; // asked to end
    unsigned m_uiRuns = 0;
};

/// 0, or why the file cannot be run.
int findFault(const std::string& a_strFile)
{
    struct stat oStatus = {};
    if (access(a_strFile.c_str(), X_OK) != 0 || stat(a_strFile.c_str(), &oStatus) != 0)
    {
        return errno;
    }
    return S_ISREG(oStatus.st_mode) ? 0 : EACCES;
}

/// Looks the program up as ChildProcess will. Throws Failure with the system's reason if it cannot be run.
void requireProgram(const std::string& a_strProgram)
{
    const bool bPath = a_strProgram.find('/') != std::string::npos;
    const char* pFolders = std::getenv("PATH");
    std::istringstream oFolders(bPath ? "" : pFolders == nullptr ? "/bin:/usr/bin" : pFolders);
    int iFault = bPath ? findFault(a_strProgram) : ENOENT;
    for (std::string strFolder; iFault != 0 && std::getline(oFolders, strFolder, ':');)
    {
        const int iHere = findFault(strFolder.append("/").append(a_strProgram));
        iFault = iHere == ENOENT ? iFault : iHere;
    }
    require(iFault == 0, "Cannot run '" + a_strProgram + "': " + std::strerror(iFault));
}

/// Finds the new rows of the log.
class Outcomes
{
public:
    /// The outcomes since the last call.
    std::vector<Task> takeNew(Database& a_oDatabase)
    {
        const StatusSources oSources = readLogSources(a_oDatabase);
        std::vector<Task> oTasks;
        for (const korrin::ValueList& oRow : makeLogRows(oSources, 0, m_iLast, std::time(nullptr)))
        {
            m_iLast = std::max(m_iLast, oRow.getValue(dbm::Id).getInteger());
            oTasks.push_back(
                makeTask(oRow, findLast(oSources.m_oAccounts, dbm::Id, textOf(oRow, dbm::DynDnsLog_DynDnsId))));
        }
        return oTasks;
    }

private:
    Task makeTask(const korrin::ValueList& a_oRow, const korrin::ValueList& a_oAccount)
    {
        const auto shown = [&](const char* a_pColumn) { return platform::escape(textOf(a_oRow, a_pColumn)); };
        const std::string strAccount = shown(dbm::DynDnsLog_DynDnsId);
        const std::string strOutcome = shown("Outcome");
        std::string& strPrevious = m_oPrevious.emplace(strAccount, "none").first->second;
        Task oTask{
            {"QUORVAD_ACCOUNT=" + strAccount,
             "QUORVAD_HOST=" + shown(dbm::DynDns_Hostname),
             "QUORVAD_INTERFACE=" + shown(dbm::Interface),
             "QUORVAD_OUTCOME=" + strOutcome,
             "QUORVAD_PREVIOUS=" + strPrevious,
             "QUORVAD_CODE=" + shown(dbm::DynDnsLog_ResponseCode),
             "QUORVAD_ANSWER=" + platform::escape(publicAnswer(textOf(a_oRow, dbm::DynDnsLog_Response), a_oAccount)),
             "QUORVAD_TIME=" + shown(dbm::DynDnsLog_Timestamp)},
            "account " + strAccount + ", " + strOutcome + " at " + shown(dbm::DynDnsLog_Timestamp)};
        strPrevious = strOutcome;
        return oTask;
    }

    int m_iLast = 0;                                // Ids only grow
    std::map<std::string, std::string> m_oPrevious; // the newest outcome of each account
};

/// What is in the log already is not new.
Outcomes startBehindLog(const Options& a_oOptions)
{
    Session oSession(a_oOptions.m_strSocket);
    Database oDatabase(oSession.getClient());
    Outcomes oOutcomes;
    static_cast<void>(oOutcomes.takeNew(oDatabase));
    return oOutcomes;
}

} // namespace

void watchOutcomes(const Options& a_oOptions)
{
    requireProgram(a_oOptions.m_oExec.front());
    Outcomes oOutcomes = startBehindLog(a_oOptions);
    platform::ChildProcess::wakeLoopAtEnd();
    Runner oRunner(a_oOptions);
    Follower oFollower;
    oFollower.m_oTables = {dbm::Table_DynDnsLog};
    oFollower.m_oIsDone = [&] { return oRunner.isDone(); };
    oFollower.m_oWork = [&] { return oRunner.work(); };
    oFollower.m_oOnChange = [&](vadro::cfg::common::IConfigClient& a_oClient, const std::string&, bool)
    {
        Database oDatabase(a_oClient);
        try
        {
            for (Task& oTask : oOutcomes.takeNew(oDatabase))
            {
                oRunner.add(std::move(oTask));
            }
        }
        catch (const Failure& oError)
        {
            complain(oError.what()); // they follow at the next change, or once the service is back
        }
    };
    const bool bSignal = follow(a_oOptions, oFollower);
    require(bSignal || oRunner.getRuns() >= a_oOptions.m_uiCount,
            "Only " + std::to_string(oRunner.getRuns()) + " of " + std::to_string(a_oOptions.m_uiCount) +
                " outcomes came within " + std::to_string(a_oOptions.m_uiTimeoutSec) + " s");
}

} // namespace cfgctl
