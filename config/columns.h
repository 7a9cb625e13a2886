#pragma once

/// Names in the configuration database that more than one file of the daemon uses. Case-sensitive.
namespace quorvad::dbm
{

inline constexpr char Table_DynDns[] = "DynDns";
inline constexpr char Table_StatusNetifWatch[] = "StatusNetifWatch";
inline constexpr char Table_StatusNetIfIPv6Addresses[] = "StatusNetIfIPv6Addresses";
inline constexpr char Table_DNSRelay[] = "DNSRelay";
inline constexpr char Table_DNSClientServer[] = "DNSClientServer";
inline constexpr char Table_DynDnsStatus[] = "DynDnsStatus";
inline constexpr char Table_DynDnsLog[] = "DynDnsLog";
inline constexpr char Table_etl[] = "etl";

inline constexpr char Id[] = "Id";
inline constexpr char Name[] = "Name";
inline constexpr char Enable[] = "Enable";
inline constexpr char Interface[] = "Interface";
inline constexpr char Addr[] = "Addr";
inline constexpr char IsUp[] = "IsUp";

inline constexpr char DNSRelay_EnableUserProvidedDnsServer[] = "EnableUserProvidedDnsServer";
inline constexpr char DNSRelay_UserProvidedDnsServerMode[] = "UserProvidedDnsServerMode";

inline constexpr char DynDnsStatus_DynDnsId[] = "DynDnsId";
inline constexpr char DynDnsLog_DynDnsId[] = "DynDnsId";
inline constexpr char DynDnsLog_Timestamp[] = "Timestamp";

inline constexpr char etl_serial_no[] = "serial_no";

} // namespace quorvad::dbm
