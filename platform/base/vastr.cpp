#include "platform/base/errnoguard.h"
#include "vadro/sysloglevel.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace
{

char s_acFallback[] = "(log text lost: it could not be formatted)";

} // namespace

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
