#pragma once

#include "korrin/valuelist.h"

#include <string>

namespace cfgctl
{

// Providers' answers as the log keeps them (column Response), made fit for people. Pure.

/// The answer as the provider sent it, on one line: without the escaping for web pages, every run of white space one
/// blank. Control characters may be left.
[[nodiscard]] std::string readableAnswer(const std::string& a_strStored);

/// The same for messages that leave the machine: whatever of the account's password and of the secret parts of its
/// update URL the answer repeats is hidden, as are other URLs; no control characters; at most 100 columns.
[[nodiscard]] std::string publicAnswer(const std::string& a_strStored, const korrin::ValueList& a_oAccount);

} // namespace cfgctl
