#pragma once

#include <string>
#include <string_view>

namespace cfgctl
{

/// Writes a file that only its owner can read. A file of that name is replaced once the new one is whole, on disk and
/// closed; a device or pipe of that name is written to. Throws Failure with the system's reason; an old file is then
/// as it was.
void writeFile(const std::string& a_strPath, std::string_view a_strContent);

} // namespace cfgctl
