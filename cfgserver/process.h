#pragma once

namespace cfgserver
{

/// The whole life of the service on its one thread: command line, start, service until SIGINT, SIGTERM or SIGQUIT (in
/// the foreground also SIGHUP). Returns the exit status: 0, 2 for a wrong command line, or 1 when it could not start or
/// go on, with one line on standard error and in syslog that says why. In the background it returns in the caller's
/// process as soon as the service is ready or has failed.
[[nodiscard]] int runProcess(int a_iCount, char** a_ppArguments);

} // namespace cfgserver
