#pragma once

#include <string>

namespace cfgctl
{

// What speaks against a name, for the end of a sentence that begins with it; empty when nothing does. Pure.

/// A DNS name to update: letters, digits, '-' and '_' between dots; '*' may stand for the first label.
[[nodiscard]] std::string findHostFault(const std::string& a_strHost);
/// As the kernel names interfaces.
[[nodiscard]] std::string findInterfaceFault(const std::string& a_strName);
/// A server's DNS name or IPv4 address, without port.
[[nodiscard]] std::string findServerFault(const std::string& a_strServer);
/// Text that can be part of a request's header: UTF-8 without control characters.
[[nodiscard]] std::string findTextFault(const std::string& a_strText);

/// What kind of address the Internet cannot reach this one is: "private", "link-local", ... Empty for one that it may
/// reach, and for what is not an address. Pure.
[[nodiscard]] std::string nameUnreachable(const std::string& a_strAddress);

} // namespace cfgctl
