#pragma once

#include "cfgctl/database.h"
#include "cfgctl/options.h"

#include <functional>
#include <string>

namespace cfgctl
{

/// What the command line asks for: a text to print (help, version), or a command.
struct Request
{
    std::string m_strText;                                            ///< print this and end, unless empty
    std::function<std::string(Database&, const Options&)> m_oCommand; ///< needs a connection; gives what to print
    std::function<void(const Options&)> m_oLongCommand;               ///< connects and prints by itself
    Options m_oOptions;
};

/// Reads the command line; no file is touched. Throws UsageError.
[[nodiscard]] Request parseArguments(int a_iCount, const char* const* a_ppArguments);

} // namespace cfgctl
