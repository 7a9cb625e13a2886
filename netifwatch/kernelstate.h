#pragma once

#include "netifwatch/interface.h"

namespace netifwatch
{

/// Asks the kernel for all interfaces of this network namespace and their addresses. A list that changed while it was
/// read is read again, up to a hundred times: half a list would take rows away from interfaces that are there. Needs no
/// privilege. Throws std::system_error when the kernel refuses, std::runtime_error when the list never stood still.
[[nodiscard]] Interfaces readInterfaces();

} // namespace netifwatch
