#pragma once

namespace vadro::lock
{

/// Lock policy that locks nothing.
class NullMutex
{
public:
    void lock() {}
    void unlock() {}
};

} // namespace vadro::lock
