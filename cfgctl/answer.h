#pragma once

#include "korrin/valuelist.h"

#include <string>

namespace cfgctl
{

// Providers' answers as the log keeps them (column Response), made fit for people: on one line, in which control
// characters may be left. Pure.

/// The answer as the provider sent it: without the escaping for web pages, every run of white space one blank; of an
/// answer that is a page itself, its text.
[[nodiscard]] std::string readableAnswer(const std::string& a_strStored);

/// The same for messages that leave the machine: whatever of the account's password and of the secret parts of its
/// update URL the answer repeats is hidden, as are other URLs; at most 100 columns.
[[nodiscard]] std::string publicAnswer(const std::string& a_strStored, const korrin::ValueList& a_oAccount);

} // namespace cfgctl
