#pragma once

#include <string>

namespace vadro::string
{

std::string replaceAllOccurrences(const std::string& a_strText,
                                  const std::string& a_strSearch,
                                  const std::string& a_strReplacement);

} // namespace vadro::string
