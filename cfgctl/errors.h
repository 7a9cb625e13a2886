#pragma once

#include <stdexcept>

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

} // namespace cfgctl
