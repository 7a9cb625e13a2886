#pragma once

namespace platform
{

/// True if standard error goes to the journal of the service manager that started this process, as its variable
/// JOURNAL_STREAM (device and inode) says. Any thread, while no other changes the environment. Does not block.
[[nodiscard]] bool isStandardErrorJournal() noexcept;

/// Tells the service manager, if one waits at the socket in NOTIFY_SOCKET, that this process is ready. That nobody
/// listens there is not a failure: whoever waits has a time limit. Does not block.
void reportReady();

} // namespace platform
