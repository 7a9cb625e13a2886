#pragma once

#include <cstddef>
#include <string>

namespace quorvad
{

/// Larger bundles are not split.
constexpr std::size_t g_uiMaxBundleBytes = std::size_t{4} * 1024 * 1024;

/// Writes each certificate of a bundle to a file of its own in the folder, under the name by which OpenSSL looks it up:
/// the hash of its subject, a dot and a number to distinguish equal hashes. One certificate at a time is decoded, since
/// all together take a hundred times the bundle's size. Any thread; blocks for the disk alone.
/// @return empty if the folder, which must exist and be empty, now says what the bundle says. Otherwise why not: the
///     bundle cannot be read, or holds something that only OpenSSL's own reading of it judges (a broken certificate, a
///     revocation list, a key). The folder may then hold a part.
/// Throws std::system_error if the folder cannot be written; it may hold a part then, too.
[[nodiscard]] std::string splitBundle(const std::string& a_strBundle, const std::string& a_strFolder);

} // namespace quorvad
