#pragma once

#include <string>

namespace cfgctl
{

/// What kind of address nobody on the Internet reaches this one is: "private", "link-local", ... Empty for one that
/// they may reach, and for what is no address. Pure.
[[nodiscard]] std::string nameUnreachable(const std::string& a_strAddress);

} // namespace cfgctl
