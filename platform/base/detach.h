#pragma once

#include <sys/types.h>

namespace platform
{

/// Leaves the terminal and the calling process behind: double fork, new session, working directory "/", standard
/// descriptors on /dev/null. 0 in the detached process, the only one in which it returns after success; the first
/// parent waits until that process exists, then leaves with _exit(0). An errno value on failure, with the caller as
/// it was. No other thread may exist.
[[nodiscard]] int detachProcess();

/// True for the process ids of the parents that detachProcess() left behind: they are about to end, no other instance.
[[nodiscard]] bool isDetachedFrom(pid_t a_iPid);
/// From now on they are gone, and their ids may be anybody's.
void forgetDetachedParents();

} // namespace platform
