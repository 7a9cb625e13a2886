#pragma once

#include "actions/interfacestate.h"

#include <map>
#include <string>
#include <vector>

namespace cfgctl
{

/// An interface as this machine's kernel has it.
struct LocalInterface
{
    quorvad::EInterfaceState m_eState = quorvad::EInterfaceState::eMissing;
    std::vector<std::string> m_oAddresses; ///< IPv4, then IPv6, in the kernel's order
};

using LocalInterfaces = std::map<std::string, LocalInterface>; ///< by name

/// All of them; empty if the kernel's list cannot be read. Does not block.
[[nodiscard]] LocalInterfaces readLocalInterfaces();

} // namespace cfgctl
