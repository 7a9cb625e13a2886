#pragma once

#include <cstdint>

/// A finished text made from a printf format, for one log call; the text lives as long as the object.
class VAStr
{
public:
    explicit VAStr(const char* a_pFormat, ...) __attribute__((format(printf, 2, 3)));
    ~VAStr();
    VAStr(const VAStr&) = delete;
    VAStr& operator=(const VAStr&) = delete;

    operator const char*() const { return m_pText; } // NOLINT(google-explicit-constructor): passed as a log text

private:
    char* m_pText; // owned, from malloc; a constant text where memory ran out
    bool m_bOwned;
};

/// Levels, as the numbers of syslog.
enum VADRO_ESysloglevel : int
{
    VADRO_eError = 3,
    VADRO_eWarning = 4,
    VADRO_eInfo = 6,
    VADRO_eDebug = 7
};

// Callable from any thread, never from a signal handler. A log call waits half a second at most for
// a system logger that stands still; on standard error it waits for the reader.

/// Opens syslog under a_pProgram; a_pPrefix is put before every text. Zero (false) if a_pProgram is empty (syslog then
/// takes the name the process was started under) or memory ran out. A syslog service that doesn't run yet is no
/// failure: each line tries to reach it. Until this call nothing goes to syslog. Main thread, before others log.
int VADRO_Sysloglevel_construct2(const char* a_pPrefix, const char* a_pProgram);
/// A handle for later log calls; the same name always gives the same handle. Never fails.
uint32_t VADRO_Sysloglevel_registerModul(const char* a_pModule);
/// Non-zero: in the background, syslog only, which is the state before the first call. Zero: in the foreground,
/// standard error as well, if it is open at this moment and not the journal, which syslog fills. Main thread.
void VADRO_Sysloglevel_set(int a_iBackground);
/// Bit mask of trace levels for all modules; 0 writes info, warning and error, 1023 debug lines, too.
void VADRO_Sysloglevel_changeTracelevelAll(uint32_t a_uiMask);
/// Non-zero if a line of that level would be written.
int VADRO_Sysloglevel_enabled(uint32_t a_uiModule, int a_iLevel);
/// Writes one line. Control bytes and invalid UTF-8 in the text are shown as \xNN, so that a text from outside can
/// neither start a line of its own nor reach a terminal; the backslash is shown as \x5c. Texts beyond 8 KiB are cut,
/// with a mark. Syslog receives "<file>:<line>: <text>", standard error the same after local time and level, in one
/// write. Never throws and never raises SIGPIPE on standard error; errno is kept.
void VADRO_Sysloglevel_write(
    uint32_t a_uiModule, int a_iLevel, const char* a_pFile, unsigned a_uiLine, const char* a_pText);

// The level is tested first, so that a text that nobody reads is never formatted.
#define VADRO_SYSLOGLEVEL_LINE(handle, level, file, line, text)                                                        \
    do                                                                                                                 \
    {                                                                                                                  \
        if (VADRO_Sysloglevel_enabled((handle), (level)) != 0)                                                         \
        {                                                                                                              \
            VADRO_Sysloglevel_write((handle), (level), (file), (line), (text));                                        \
        }                                                                                                              \
    } while (false)

#define VADRO_Sysloglevel_debug(handle, file, line, text) VADRO_SYSLOGLEVEL_LINE(handle, VADRO_eDebug, file, line, text)
#define VADRO_Sysloglevel_info(handle, file, line, text) VADRO_SYSLOGLEVEL_LINE(handle, VADRO_eInfo, file, line, text)
#define VADRO_Sysloglevel_warning(handle, file, line, text)                                                            \
    VADRO_SYSLOGLEVEL_LINE(handle, VADRO_eWarning, file, line, text)
#define VADRO_Sysloglevel_error(handle, file, line, text) VADRO_SYSLOGLEVEL_LINE(handle, VADRO_eError, file, line, text)
