#pragma once

#include "netifwatch/options.h"

#include <string>

namespace netifwatch
{

/// The rows that would be written at this moment if the tables were empty, as tables for people or as JSON. Throws
/// std::system_error when the kernel refuses.
[[nodiscard]] std::string printState(const Options& a_oOptions);

} // namespace netifwatch
