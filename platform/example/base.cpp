// Everything of the kit but the configuration database: log, PID file, assertions, the main loop's sleep.
#include "korrin/net/eventdispatcher.h"
#include "vadro/daemon.h"
#include "vadro/error/assert.h"
#include "vadro/string/replace.h"
#include "vadro/sysloglevel.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <new>

#include <csignal>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

namespace
{
std::atomic<bool> s_bBackground{true};
std::atomic<int> s_iMostLevel{LOG_INFO};
} // namespace

VAStr::VAStr(const char* a_pFormat, ...)
{
    char acText[2048];
    va_list oArguments;
    va_start(oArguments, a_pFormat);
    const int iLength = std::vsnprintf(acText, sizeof acText, a_pFormat, oArguments);
    va_end(oArguments);
    m_strText = iLength >= 0 ? acText : a_pFormat;
}

int VADRO_Sysloglevel_construct2(const char* /*a_pPrefix*/, const char* a_pProgram)
{
    openlog(a_pProgram, LOG_PID, LOG_DAEMON);
    return 1;
}

uint32_t VADRO_Sysloglevel_registerModul(const char* /*a_pModule*/)
{
    return 1;
}

void VADRO_Sysloglevel_set(int a_iBackground)
{
    s_bBackground = a_iBackground != 0;
}

void VADRO_Sysloglevel_changeTracelevelAll(uint32_t a_uiMask)
{
    s_iMostLevel = a_uiMask != 0 ? LOG_DEBUG : LOG_INFO;
}

void VADRO_Sysloglevel_write(int a_iLevel, const char* a_pFile, unsigned a_uiLine, const char* a_pText)
{
    if (a_iLevel > s_iMostLevel)
    {
        return;
    }
    syslog(a_iLevel, "%s:%u: %s", a_pFile, a_uiLine, a_pText); // NOLINT(concurrency-mt-unsafe): syslog locks
    if (!s_bBackground)
    {
        std::fprintf(stderr, "%s:%u: %s\n", a_pFile, a_uiLine, a_pText);
    }
}

void VADRO_Daemon_construct(VADRO_Daemon* a_pDaemon, const char* a_pName, const char* a_pDirectory)
{
    a_pDaemon->m_strPidFile = std::string(a_pDirectory) + "/" + a_pName + ".pid";
}

int VADRO_Daemon_occupiedPidFile(const VADRO_Daemon* a_pDaemon)
{
    int iPid = 0;
    return std::ifstream(a_pDaemon->m_strPidFile) >> iPid && iPid > 0 && iPid != getpid() && kill(iPid, 0) == 0 ? 1 : 0;
}

int VADRO_Daemon_daemonize(const VADRO_Daemon* /*a_pDaemon*/)
{
    return daemon(0, 0) == 0 ? 1 : 0;
}

void VADRO_Daemon_deletePidFile(const VADRO_Daemon* a_pDaemon)
{
    if (VADRO_Daemon_occupiedPidFile(a_pDaemon) == 0)
    {
        unlink(a_pDaemon->m_strPidFile.c_str());
    }
}

int VADRO_Daemon_createPidFile(const VADRO_Daemon* a_pDaemon)
{
    const int iFd = open(a_pDaemon->m_strPidFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    const bool bWritten = iFd >= 0 && dprintf(iFd, "%d\n", getpid()) > 0;
    return iFd >= 0 && close(iFd) == 0 && bWritten ? 1 : 0;
}

namespace vadro::error
{

void Assert::throwAssertionFailed(EAssertType /*a_eType*/,
                                  const char* a_pFile,
                                  unsigned a_uiLine,
                                  const char* a_pExpression)
{
    throw AssertionFailed(std::string(a_pFile) + ":" + std::to_string(a_uiLine) + ": " + a_pExpression);
}

void Assert::throwBadAlloc()
{
    throw std::bad_alloc();
}

} // namespace vadro::error

std::string vadro::string::replaceAllOccurrences(const std::string& a_strText,
                                                 const std::string& a_strSearch,
                                                 const std::string& a_strReplacement)
{
    std::string strResult = a_strText;
    std::size_t uiAt = a_strSearch.empty() ? std::string::npos : strResult.find(a_strSearch);
    while (uiAt != std::string::npos)
    {
        strResult.replace(uiAt, a_strSearch.size(), a_strReplacement);
        uiAt = strResult.find(a_strSearch, uiAt + a_strReplacement.size());
    }
    return strResult;
}

void korrin::net::EventDispatcher::handleEvents(unsigned int a_uiMilliseconds)
{
    const unsigned int uiPause = std::min(a_uiMilliseconds, 1000U);
    const timespec oPause = {static_cast<time_t>(uiPause / 1000), static_cast<long>(uiPause % 1000) * 1000000};
    nanosleep(&oPause, nullptr);
}
