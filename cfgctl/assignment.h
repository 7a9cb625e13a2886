#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// One COLUMN=VALUE (the value as it stands) or COLUMN@=FILE (the value is the file's content) of the command line.
struct Assignment
{
    std::string m_strColumn;
    std::string m_strValue; ///< the value, or the name of the file that holds it, "-" for standard input
    bool m_bFromFile = false;
};

/// A column's name is letters, digits and '_', not beginning with a digit; everything behind the first '=' belongs to
/// the value. Pure. Throws UsageError, whose text never holds what stands behind the '='.
[[nodiscard]] Assignment parseAssignment(std::string_view a_strText);

/// Several, each column at most once. Pure. Throws UsageError.
[[nodiscard]] std::vector<Assignment> parseAssignments(const std::vector<std::string>& a_oTexts);

/// True for "@=-". Pure.
[[nodiscard]] bool isFromStandardInput(const Assignment& a_oAssignment);

} // namespace cfgctl
