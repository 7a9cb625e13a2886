#pragma once

#include <net/if.h>
#include <string>

namespace quorvad
{

/// An interface's state in the kernel.
enum class EInterfaceState
{
    eUnknown, ///< the list of interfaces cannot be read
    eMissing, ///< none of that name, or it has no address
    eDown,    ///< not up, or without carrier
    eRunning
};

/// The kernel's flags of an interface that is up and has a carrier.
inline constexpr unsigned g_uiRunningFlags = IFF_UP | IFF_RUNNING;

/// The state of the interface of exactly that name. errno is set for eUnknown. Any thread; does not block.
[[nodiscard]] EInterfaceState readInterfaceState(const std::string& a_strInterface);

/// Whether an update may leave through it; no, with a warning, if the list cannot be read. Any thread; does not block.
[[nodiscard]] bool isInterfaceRunning(const std::string& a_strInterface);

} // namespace quorvad
