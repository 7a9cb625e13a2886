#pragma once

#include "netifwatch/interface.h"

#include <string>

namespace netifwatch
{

// Which address of an interface its peers should know. Pure; an empty text when there is none.

/// The first primary address of global scope, in the kernel's order: the one that it sends from by itself. One that is
/// deprecated only where there is no other.
[[nodiscard]] std::string chooseIPv4(const Interface& a_oInterface);

/// An address of global scope that is neither temporary, deprecated, tentative (or optimistic: another machine may
/// still claim it) nor failed. Native addresses come before those of a transition mechanism (6to4, Teredo), and both
/// before unique-local ones. Of several that are equally good a_strPresent is kept if it is one, else the numerically
/// lowest is taken.
[[nodiscard]] std::string chooseIPv6(const Interface& a_oInterface, const std::string& a_strPresent);

} // namespace netifwatch
