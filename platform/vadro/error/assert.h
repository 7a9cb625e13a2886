#pragma once

#include <stdexcept>
#include <string>

namespace vadro::error
{

/// Kind of a failed assertion.
enum EAssertType : unsigned
{
    ePrecondition = 1,
    eBadAlloc = 2,
    eConstruction = 4
};

/// What a failed assertion throws: its four arguments; what() names them in one line.
struct AssertionFailed : std::runtime_error
{
    AssertionFailed(EAssertType a_eType,
                    const std::string& a_strFile,
                    unsigned a_uiLine,
                    const std::string& a_strExpression);

    EAssertType m_eType;
    std::string m_strFile;
    unsigned int m_uiLine;
    std::string m_strExpression;
};

/// Raises assertion failures. Any thread; the installed DefaultAssertHook reports the failure before it is thrown.
class Assert
{
public:
    [[noreturn]] static void
    throwAssertionFailed(EAssertType a_eType, const char* a_pFile, unsigned int a_uiLine, const char* a_pExpression);
    /// Throws std::bad_alloc.
    [[noreturn]] static void throwBadAlloc();
};

} // namespace vadro::error
