#pragma once

#include <string>

struct stat;

// Names in folders to which everybody may write, such as /tmp: what stands in the way is moved aside, never replaced,
// and never followed if it is a link.
namespace platform
{

/// Renames a file to a name that nothing has yet. False and errno on failure, EEXIST for a name in use. Where the file
/// system knows no such renaming, a second link does the same for all but folders.
[[nodiscard]] bool renameToFree(const std::string& a_strFrom, const std::string& a_strTo) noexcept;

/// Whether somebody else may have put it there: it belongs neither to us nor to root, or it may be another name for a
/// file of ours or root's.
[[nodiscard]] bool isOfStranger(const struct stat& a_oStatus) noexcept;

/// Whether it is a stranger's in a sticky folder where we may move such things: we are root or the folder's owner.
[[nodiscard]] bool mayMoveAside(const std::string& a_strPath, const struct stat& a_oStatus);

/// Renames it to "<path>.aside-<random number>" and logs a warning; also true if it has just gone by itself.
[[nodiscard]] bool moveAside(const std::string& a_strPath, const struct stat& a_oStatus);

} // namespace platform
