#pragma once

#include "netifwatch/options.h"

namespace netifwatch
{

/// The whole life of the program on its one thread. Returns the exit status: 0, or 1 when it cannot start or an error
/// ended it; the reason is on standard error or, from the background, in syslog.
[[nodiscard]] int runProcess(const Options& a_oOptions);

} // namespace netifwatch
