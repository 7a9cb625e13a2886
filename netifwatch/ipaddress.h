#pragma once

#include "netifwatch/interface.h"

#include <optional>
#include <string>

namespace netifwatch
{

/// The address in the usual form ("192.0.2.1", "2001:db8::1"); empty for neither family. Pure.
[[nodiscard]] std::string toText(const IpAddress& a_oAddress);

/// Reads either family, no zone, nothing around it. Pure.
[[nodiscard]] std::optional<IpAddress> parseAddress(const std::string& a_strText);

/// From the kernel's or a bus's bytes; nothing when the length doesn't fit the family. Pure.
[[nodiscard]] std::optional<IpAddress> makeAddress(int a_iFamily, const void* a_pBytes, std::size_t a_uiSize);

/// 127.0.0.0/8, ::1, and the same written as IPv4 in IPv6; also 0.0.0.0 and ::, which mean the machine itself. Pure.
[[nodiscard]] bool isOfThisMachine(const IpAddress& a_oAddress);

/// fe80::/10 or 169.254.0.0/16: means something on one link only. Pure.
[[nodiscard]] bool isLinkLocal(const IpAddress& a_oAddress);

} // namespace netifwatch
