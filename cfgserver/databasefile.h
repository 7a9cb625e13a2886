#pragma once

#include <SQLiteCpp/Database.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace cfgserver
{

/// The path of a database that is kept in memory only.
constexpr const char* g_pMemoryDatabase = ":memory:";

/// Marks the file as ours: the letters "qcfg".
constexpr int g_iApplicationId = 0x71636667;
/// Raised by changes that an older service could not read; new tables and columns are not among them.
constexpr int g_iSchemaVersion = 1;

// A file that cannot be used is refused with std::runtime_error, which names the file or folder, the reason and what to
// do, or, where SQLite refuses it, with SQLite::Exception, which refuse() puts into such words. It stays as it was, log
// included, except that an interrupted write is rolled back; the mode, too, unless another process uses the file or its
// file system has no write-ahead logs.

/// The file is another's: used by another process, of another user, of another program, or no file at all.
class ForeignFile : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Creates the file, mode 0600, if it is missing, and its folder, mode 0700, if the parent exists. Returns the path
/// with the folder's links resolved; ":memory:" as it is. Refuses a file without permission, another user's, and what
/// is not a regular file.
[[nodiscard]] std::string makeDatabaseFile(const std::string& a_strPath);

/// A new empty file beside it, mode 0600, in the folder that is created if need be. Returns its path.
[[nodiscard]] std::string makeFileBeside(const std::string& a_strPath);

/// Lets new entries survive a loss of power. Some file systems refuse; nothing better can be done then.
void syncFolder(const std::string& a_strFolder) noexcept;

/// Opens the file and makes it and its log accessible to the owner alone. Refuses one that is damaged, another
/// program's, written by a newer service or used by another process, and a file system without write-ahead logs. The
/// log is kept on closing until keepLogOnClose() says otherwise.
[[nodiscard]] std::unique_ptr<SQLite::Database> openDatabase(const std::string& a_strPath);

/// SQLite writes the log into the file and removes it when the last connection closes, even into a damaged file.
void keepLogOnClose(const SQLite::Database& a_oDatabase, bool a_bKeep);

/// What SQLite's code means for this file, and what to do.
[[nodiscard]] std::string explain(const std::string& a_strPath, int a_iCode, const std::string& a_strReason);

/// Throws ForeignFile or std::runtime_error with the explanation.
[[noreturn]] void refuse(const std::string& a_strPath, int a_iCode, const std::string& a_strReason);

} // namespace cfgserver
