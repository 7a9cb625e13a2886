#pragma once

#include "cfgctl/assignment.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cfgctl
{

/// Reads a file whole, "-" meaning standard input. Blocks as long as the input does. Throws Failure with the system's
/// reason, or when there are more than a_uiLimit bytes.
[[nodiscard]] std::string readFile(const std::string& a_strPath, std::size_t a_uiLimit);

/// A file's content as a value: one line end at its end is dropped, at most 64 KiB. Throws Failure as readFile does.
[[nodiscard]] std::string readValue(const std::string& a_strPath);

/// Puts the content of the files in the place of their names. One line end at the end of a file is dropped, since
/// editors and echo put it there. Throws Failure as readFile does; a value is at most 64 KiB.
void readValues(std::vector<Assignment>& a_oAssignments);

} // namespace cfgctl
