#pragma once

#include <string>

namespace quorvad
{

/// What the kernel says of an interface.
enum class EInterfaceState
{
    eUnknown, ///< the list of interfaces cannot be read
    eMissing, ///< none of that name, or it has no address
    eDown,    ///< not up, or without carrier
    eRunning
};

/// Of the interface of exactly that name. For eUnknown errno says why. Any thread; does not block.
[[nodiscard]] EInterfaceState readInterfaceState(const std::string& a_strInterface);

/// Whether an update may leave through it; where the list cannot be read it may not, with a warning. Any thread; does
/// not block.
[[nodiscard]] bool isInterfaceRunning(const std::string& a_strInterface);

} // namespace quorvad
