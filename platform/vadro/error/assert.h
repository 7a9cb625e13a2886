#pragma once

#include <stdexcept>

namespace vadro::error
{

/// Kind of a failed assertion.
enum EAssertType : unsigned
{
    ePrecondition = 1,
    eBadAlloc = 2,
    eConstruction = 4
};

/// What a failed assertion throws: its four arguments in one line.
class AssertionFailed : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
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
