#pragma once

#include <string>

namespace quorvad
{

/// True when an interface of exactly that name has an address and is up and running (has a carrier). False as well when
/// the list of interfaces can't be read. Any thread; doesn't block.
[[nodiscard]] bool isInterfaceRunning(const std::string& a_strInterface);

} // namespace quorvad
