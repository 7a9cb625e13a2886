#pragma once

#include "netifwatch/interfacefilter.h"
#include "netifwatch/options.h"
#include "netifwatch/reconciler.h"

namespace netifwatch
{

/// The state of this moment, of the interfaces that are watched. Asks the kernel, the system bus and resolv.conf; may
/// block for the bus's two seconds. Throws std::system_error when the kernel refuses.
[[nodiscard]] MachineState readMachine(const Options& a_oOptions, const InterfaceFilter& a_oFilter);

} // namespace netifwatch
