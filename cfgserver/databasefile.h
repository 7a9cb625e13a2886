#pragma once

#include <SQLiteCpp/Database.h>

#include <string>

namespace cfgserver
{

/// Marks the file as ours; the letters "qcfg".
constexpr int g_iApplicationId = 0x71636667;
/// Raised by a change that an older service could not read. New tables and columns are no such change.
constexpr int g_iSchemaVersion = 1;

/// Makes sure that the file is there for this service alone to use, and returns its path with the folder's links
/// resolved. A missing folder is created, mode 0700, where its parent exists, a missing file with mode 0600. Others
/// lose access to the file and the log beside it.
///
/// Throws std::runtime_error, which names the file or folder, the reason and what to do, for a file that cannot be
/// used: no permission, another user's, no regular file, damaged, another program's, written by a newer service.
/// What is refused stays as it was, mode and log included, except that a write which was cut short, if there is one, is
/// taken back.
[[nodiscard]] std::string prepareDatabaseFile(const std::string& a_strPath);

/// SQLite writes the log into the file and removes it when the last connection closes, even into a damaged file.
void keepLogOnClose(const SQLite::Database& a_oDatabase, bool a_bKeep);

/// What SQLite's code means for this file, and what to do.
[[nodiscard]] std::string explain(const std::string& a_strPath, int a_iCode, const std::string& a_strReason);

} // namespace cfgserver
