#pragma once

#include <SQLiteCpp/Database.h>

#include <memory>
#include <string>

namespace cfgserver
{

/// Marks the file as ours; the letters "qcfg".
constexpr int g_iApplicationId = 0x71636667;
/// Raised by a change that an older service could not read. New tables and columns are no such change.
constexpr int g_iSchemaVersion = 1;

// What keeps a file from being used is thrown as std::runtime_error, which names the file or folder, the reason and
// what to do. What is refused stays as it was, mode and log included, except that a write which was cut short, if there
// is one, is taken back.

/// Makes sure that the file is there for this service alone to use, and returns its path with the folder's links
/// resolved. A missing folder is created, mode 0700, where its parent exists, a missing file with mode 0600. Throws for
/// want of permission, another user's file and what is not a regular file. ":memory:" is returned as it is.
[[nodiscard]] std::string makeDatabaseFile(const std::string& a_strPath);

/// Opens the file, once it is known to be ours, and takes access to it and to the log beside it from others. Throws,
/// also SQLite::Exception, for one that is damaged, another program's, written by a newer service or used by another
/// process, and for a file system without what a write-ahead log needs. The log is kept on closing at first.
[[nodiscard]] std::unique_ptr<SQLite::Database> openDatabase(const std::string& a_strPath);

/// SQLite writes the log into the file and removes it when the last connection closes, even into a damaged file.
void keepLogOnClose(const SQLite::Database& a_oDatabase, bool a_bKeep);

/// What SQLite's code means for this file, and what to do.
[[nodiscard]] std::string explain(const std::string& a_strPath, int a_iCode, const std::string& a_strReason);

} // namespace cfgserver
