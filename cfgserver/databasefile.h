#pragma once

#include <string>

namespace cfgserver
{

/// Makes sure that the database file exists and belongs to the caller, and returns its path with the folder's links
/// resolved. A missing folder is created, mode 0700, where its parent exists, a missing file with mode 0600; a present
/// file is left as it is. Throws std::runtime_error that names the file or folder and the system's reason.
std::string prepareDatabaseFile(const std::string& a_strPath);

/// Takes access to the file, and to the log beside it, from everybody but the owner. Throws like the above.
void makePrivate(const std::string& a_strPath);

} // namespace cfgserver
