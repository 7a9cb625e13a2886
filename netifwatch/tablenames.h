#pragma once

namespace netifwatch
{

constexpr const char* g_pIPv4Table = "StatusNetifWatch";
constexpr const char* g_pIPv6Table = "StatusNetIfIPv6Addresses";
constexpr const char* g_pDnsTable = "DNSClientServer";

} // namespace netifwatch
