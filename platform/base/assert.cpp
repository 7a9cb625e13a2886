#include "vadro/error/assert.h"

#include "platform/base/escape.h"
#include "platform/base/io.h"
#include "vadro/error/defaultasserthook.h"
#include "vadro/sysloglevel.h"

#include <atomic>
#include <new>

namespace vadro::error
{

namespace
{

enum EReport : int
{
    eNowhere,
    eStandardError,
    eSyslog
};

std::atomic<EReport> s_eReport{eNowhere};

const char* orEmpty(const char* a_pText)
{
    return a_pText != nullptr ? a_pText : "";
}

const char* typeName(EAssertType a_eType)
{
    switch (a_eType)
    {
    case ePrecondition:
        return "precondition";
    case eBadAlloc:
        return "bad alloc";
    case eConstruction:
        return "construction";
    }
    return "unknown type";
}

std::string describe(EAssertType a_eType, const char* a_pFile, unsigned int a_uiLine, const char* a_pExpression)
{
    return std::string("Assertion failed (")
        .append(typeName(a_eType))
        .append(", type ")
        .append(std::to_string(static_cast<unsigned>(a_eType)))
        .append(") at ")
        .append(platform::escape(orEmpty(a_pFile)))
        .append(1, ':')
        .append(std::to_string(a_uiLine))
        .append(": ")
        .append(platform::escape(orEmpty(a_pExpression)));
}

void report(const AssertionFailed& a_oFailure)
{
    const EReport eReport = s_eReport;
    if (eReport == eSyslog)
    {
        const uint32_t uiModule = VADRO_Sysloglevel_registerModul("assert");
        VADRO_Sysloglevel_error(uiModule, a_oFailure.getFile().c_str(), a_oFailure.getLine(), a_oFailure.what());
    }
    else if (eReport == eStandardError)
    {
        platform::writeStandardError(std::string(a_oFailure.what()) + '\n');
    }
}

} // namespace

AssertionFailed::AssertionFailed(EAssertType a_eType,
                                 const char* a_pFile,
                                 unsigned int a_uiLine,
                                 const char* a_pExpression)
    : std::runtime_error(describe(a_eType, a_pFile, a_uiLine, a_pExpression)), m_eType(a_eType),
      m_strFile(orEmpty(a_pFile)), m_uiLine(a_uiLine), m_strExpression(orEmpty(a_pExpression))
{
}

void Assert::throwAssertionFailed(EAssertType a_eType,
                                  const char* a_pFile,
                                  unsigned int a_uiLine,
                                  const char* a_pExpression)
{
    AssertionFailed oFailure(a_eType, a_pFile, a_uiLine, a_pExpression);
    report(oFailure);
    throw oFailure;
}

void Assert::throwBadAlloc()
{
    throw std::bad_alloc();
}

DefaultAssertHook::DefaultAssertHook()
{
    s_eReport = eStandardError;
}

DefaultAssertHook::~DefaultAssertHook()
{
    s_eReport = eNowhere;
}

void DefaultAssertHook::setSyslog(bool a_bSyslog)
{
    s_eReport = a_bSyslog ? eSyslog : eStandardError;
}

} // namespace vadro::error
