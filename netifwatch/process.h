#pragma once

namespace netifwatch
{

/// The whole life of the program on its one thread. Returns the exit status: 0, 2 for a wrong command line, or 1 when
/// it cannot start or an error ended it; the reason is on standard error or, from the background, in syslog.
[[nodiscard]] int runProcess(int a_iCount, char** a_ppArguments);

} // namespace netifwatch
