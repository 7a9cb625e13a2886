#pragma once

#include <stdexcept>

namespace vadro::error
{

enum EAssertType : unsigned
{
    ePrecondition = 1,
    eBadAlloc = 2,
    eConstruction = 4
};

class AssertionFailed : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Assert
{
public:
    [[noreturn]] static void
    throwAssertionFailed(EAssertType a_eType, const char* a_pFile, unsigned int a_uiLine, const char* a_pExpression);
    [[noreturn]] static void throwBadAlloc();
};

} // namespace vadro::error
