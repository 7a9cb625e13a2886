#pragma once

#include <cstdint>
#include <string>

/// A text made from a printf format, for one log call.
class VAStr
{
public:
    explicit VAStr(const char* a_pFormat, ...) __attribute__((format(printf, 2, 3)));
    operator const char*() const { return m_strText.c_str(); } // NOLINT(google-explicit-constructor): passed as a text

private:
    std::string m_strText;
};

int VADRO_Sysloglevel_construct2(const char* a_pPrefix, const char* a_pProgram);
uint32_t VADRO_Sysloglevel_registerModul(const char* a_pModule);
void VADRO_Sysloglevel_set(int a_iBackground);
void VADRO_Sysloglevel_changeTracelevelAll(uint32_t a_uiMask);
/// From any thread; levels are syslog's.
void VADRO_Sysloglevel_write(int a_iLevel, const char* a_pFile, unsigned a_uiLine, const char* a_pText);

#define VADRO_Sysloglevel_debug(handle, file, line, text) VADRO_Sysloglevel_write(7, file, line, text)
#define VADRO_Sysloglevel_info(handle, file, line, text) VADRO_Sysloglevel_write(6, file, line, text)
#define VADRO_Sysloglevel_warning(handle, file, line, text) VADRO_Sysloglevel_write(4, file, line, text)
#define VADRO_Sysloglevel_error(handle, file, line, text) VADRO_Sysloglevel_write(3, file, line, text)
