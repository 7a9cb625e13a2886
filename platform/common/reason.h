#pragma once

#include <exception>
#include <new>

namespace platform
{

/// The exception's text, in words where the library has only a name.
inline const char* reasonOf(const std::exception& a_oError) noexcept
{
    return dynamic_cast<const std::bad_alloc*>(&a_oError) != nullptr ? "out of memory" : a_oError.what();
}

} // namespace platform
