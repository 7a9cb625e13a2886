#pragma once

#include <SQLiteCpp/Database.h>

#include <string>

namespace cfgserver
{

/// Marks the file as ours; the letters "qcfg".
constexpr int g_iApplicationId = 0x71636667;
/// Raised by a change that an older service could not read. New tables and columns are no such change.
constexpr int g_iSchemaVersion = 1;

/// Throws when the file is damaged, belongs to another program, was written by a newer service (std::runtime_error with
/// what to do) or can't be read (SQLite::Exception); an empty file is sound. Changes neither the file nor the log
/// beside it, except that a write which was cut short, if there is one, is taken back.
void checkDatabase(const std::string& a_strPath);

/// SQLite writes the log into the file and removes it when the last connection closes, even into a damaged file.
void keepLogOnClose(const SQLite::Database& a_oDatabase, bool a_bKeep);

/// What SQLite's code means for this file, and what to do.
[[nodiscard]] std::string explain(const std::string& a_strPath, int a_iCode, const std::string& a_strReason);

} // namespace cfgserver
