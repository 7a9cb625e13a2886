#pragma once

namespace quorvad
{

/// The whole life of the daemon on the main thread: start-up, main loop, shutdown. Returns the exit status: 0 after a
/// stop signal, 1 after an exception. Ends the process itself for -h, -v, a wrong option and a second instance.
[[nodiscard]] int runDaemon(int a_iArgc, char** a_ppArgv);

} // namespace quorvad
