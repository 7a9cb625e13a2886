#pragma once

#include <stdexcept>
#include <string>

namespace cfgctl
{

/// The command line itself is wrong: exit status 2. The text says what and how it is written correctly.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The command could not be done: exit status 1. The text says what, why and, where there is one, the next step; it
/// never holds a secret.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Everything was said; the program ends with that status.
struct Exit
{
    int m_iStatus;
};

/// Throws Failure with that text unless the condition holds.
inline void require(bool a_bCondition, const std::string& a_strFailure)
{
    if (!a_bCondition)
    {
        throw Failure(a_strFailure);
    }
}

/// Does a part of the work and returns what it returns; a Failure in it is told with the place in front.
template<typename Work>
auto within(const std::string& a_strPlace, const Work& a_oWork)
{
    try
    {
        return a_oWork();
    }
    catch (const Failure& oError)
    {
        throw Failure(a_strPlace + oError.what());
    }
}

} // namespace cfgctl
