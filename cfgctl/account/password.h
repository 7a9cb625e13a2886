#pragma once

#include <string>

namespace cfgctl
{

/// The password from a file, "-" meaning standard input, without the line end behind it; from the terminal when
/// a_strFile is empty: a_strQuestion is asked and nothing of the answer shown, and whatever ends or stops the program
/// meanwhile, the terminal shows again what is typed. Blocks as long as the person or the input does. Throws Failure
/// when there is no terminal to ask on, or with the system's reason.
[[nodiscard]] std::string readPassword(const std::string& a_strFile, const std::string& a_strQuestion);

/// Asks on the terminal and takes "y" or "yes" for a yes. Throws Failure that names the option
/// a_strInstead when there is no terminal.
[[nodiscard]] bool confirm(const std::string& a_strQuestion, const std::string& a_strInstead);

} // namespace cfgctl
