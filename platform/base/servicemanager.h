#pragma once

namespace platform
{

/// True if standard error goes to the journal of the service manager that started this process, as its variable
/// JOURNAL_STREAM (device and inode) says. Any thread that no other changes the environment under; blocks not.
[[nodiscard]] bool isStandardErrorJournal();

/// Tells the service manager, if one waits for that at the socket in NOTIFY_SOCKET, that this process now serves.
/// Nobody there, or nobody listening, is no failure: whoever waits for the word has a time limit. Blocks not.
void reportReady();

} // namespace platform
