#pragma once

#include <string>

namespace vadro::string
{

/// A copy of a_strText in which every non-overlapping a_strSearch, scanned from the left, is replaced; inserted text
/// is not scanned again. An empty search text replaces nothing.
std::string replaceAllOccurrences(const std::string& a_strText,
                                  const std::string& a_strSearch,
                                  const std::string& a_strReplacement);

} // namespace vadro::string
