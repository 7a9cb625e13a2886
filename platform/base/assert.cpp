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

void report(const AssertionFailed& a_oFailure)
{
    const EReport eReport = s_eReport;
    if (eReport == eSyslog)
    {
        VADRO_Sysloglevel_error(VADRO_Sysloglevel_registerModul("assert"),
                                a_oFailure.m_strFile.c_str(),
                                a_oFailure.m_uiLine,
                                a_oFailure.what());
    }
    else if (eReport == eStandardError)
    {
        platform::writeStandardError(std::string(a_oFailure.what()) + '\n');
    }
}

} // namespace

AssertionFailed::AssertionFailed(EAssertType a_eType,
                                 const std::string& a_strFile,
                                 unsigned int a_uiLine,
                                 const std::string& a_strExpression)
    : std::runtime_error(VAStr("Assertion failed (%s, type %u) at %s:%u: %s",
                               typeName(a_eType),
                               static_cast<unsigned>(a_eType),
                               platform::escape(a_strFile).c_str(),
                               a_uiLine,
                               platform::escape(a_strExpression).c_str())),
      m_eType(a_eType), m_strFile(a_strFile), m_uiLine(a_uiLine), m_strExpression(a_strExpression)
{
}

void Assert::throwAssertionFailed(EAssertType a_eType,
                                  const char* a_pFile,
                                  unsigned int a_uiLine,
                                  const char* a_pExpression)
{
    AssertionFailed oFailure(a_eType, orEmpty(a_pFile), a_uiLine, orEmpty(a_pExpression));
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
