#include "vadro/sysloglevel.h"

#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "platform/base/servicemanager.h"
#include "platform/base/syslogsender.h"
#include "platform/common/localtime.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace
{

char s_acFallback[] = "(log text lost: it could not be formatted)";

constexpr std::size_t s_uiTextLimit = 8192;

// What is shared is never destroyed: other statics may log from their destructors.
std::atomic<uint32_t> s_uiTraceMask{0};
std::atomic<bool> s_bForeground{false};

struct Identity
{
    std::string m_strPrefix;
    std::string m_strProgram; // empty until the log is opened
};

Identity& identity()
{
    static auto* const s_pIdentity = new Identity;
    return *s_pIdentity;
}

platform::SyslogSender& sender()
{
    static auto* const s_pSender = new platform::SyslogSender;
    return *s_pSender;
}

const char* orEmpty(const char* a_pText)
{
    return a_pText != nullptr ? a_pText : "";
}

const char* levelName(int a_iLevel)
{
    switch (a_iLevel)
    {
    case VADRO_eError:
        return "error";
    case VADRO_eWarning:
        return "warning";
    case VADRO_eInfo:
        return "info";
    default:
        return "debug";
    }
}

// "2026-01-31 23:59:59.123": local time.
std::string timeStamp()
{
    timespec oNow{};
    clock_gettime(CLOCK_REALTIME, &oNow);
    return platform::formatLocalTime(oNow.tv_sec, "%F %T") +
           static_cast<const char*>(VAStr(".%03ld", oNow.tv_nsec / 1000000));
}

void writeLine(int a_iLevel, const char* a_pFile, unsigned a_uiLine, const char* a_pText)
{
    std::string strLine = identity().m_strPrefix;
    strLine.append(orEmpty(a_pFile)).append(1, ':').append(std::to_string(a_uiLine)).append(": ");
    strLine.append(platform::escape(orEmpty(a_pText), s_uiTextLimit));
    if (!identity().m_strProgram.empty())
    {
        sender().send(a_iLevel, identity().m_strProgram, strLine);
    }
    if (s_bForeground.load(std::memory_order_relaxed))
    {
        platform::writeStandardError(timeStamp() + ' ' + levelName(a_iLevel) + ' ' + strLine + '\n');
    }
}

} // namespace

int VADRO_Sysloglevel_construct2(const char* a_pPrefix, const char* a_pProgram)
{
    const bool bNamed = a_pProgram != nullptr && *a_pProgram != '\0';
    try
    {
        identity() = {orEmpty(a_pPrefix), bNamed ? a_pProgram : program_invocation_short_name};
    }
    catch (const std::exception&)
    {
        return 0;
    }
    return bNamed ? 1 : 0;
}

// All modules are written alike.
uint32_t VADRO_Sysloglevel_registerModul(const char* /*a_pModule*/)
{
    return 1;
}

void VADRO_Sysloglevel_set(int a_iBackground)
{
    const platform::ErrnoGuard oErrno;
    // Without standard error at the start, another file will get its number sooner or later: never write there.
    // The journal has every line already, by syslog.
    s_bForeground = a_iBackground == 0 && fcntl(STDERR_FILENO, F_GETFD) >= 0 && !platform::isStandardErrorJournal();
}

void VADRO_Sysloglevel_changeTracelevelAll(uint32_t a_uiMask)
{
    s_uiTraceMask = a_uiMask;
}

int VADRO_Sysloglevel_enabled(uint32_t /*a_uiModule*/, int a_iLevel)
{
    return a_iLevel <= VADRO_eInfo || s_uiTraceMask.load(std::memory_order_relaxed) != 0 ? 1 : 0;
}

void VADRO_Sysloglevel_write(
    uint32_t /*a_uiModule*/, int a_iLevel, const char* a_pFile, unsigned a_uiLine, const char* a_pText)
{
    const platform::ErrnoGuard oErrno;
    try
    {
        writeLine(a_iLevel, a_pFile, a_uiLine, a_pText);
    }
    catch (const std::exception&)
    {
        platform::writeStandardError("log line lost: out of memory\n");
    }
}

VAStr::VAStr(const char* a_pFormat, ...) : m_pText(nullptr), m_bOwned(false)
{
    const platform::ErrnoGuard oErrno;
    va_list oArguments;
    va_start(oArguments, a_pFormat);
    m_bOwned = vasprintf(&m_pText, a_pFormat, oArguments) >= 0;
    va_end(oArguments);
    if (!m_bOwned)
    {
        m_pText = s_acFallback;
    }
}

VAStr::~VAStr()
{
    if (m_bOwned)
    {
        std::free(m_pText);
    }
}
