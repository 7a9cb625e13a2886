#pragma once

/// The names in the configuration database, and texts that stand in it. Case-sensitive.
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

// Columns that several tables have.
inline constexpr char Id[] = "Id";
inline constexpr char Name[] = "Name";
inline constexpr char Enable[] = "Enable";
inline constexpr char Interface[] = "Interface";
inline constexpr char Addr[] = "Addr";
inline constexpr char IsUp[] = "IsUp";

inline constexpr char DynDns_ServiceType[] = "ServiceType";
inline constexpr char DynDns_ServerAddr[] = "ServerAddr";
inline constexpr char DynDns_Hostname[] = "Hostname";
inline constexpr char DynDns_AccountUserName[] = "AccountUserName";
inline constexpr char DynDns_Password[] = "Password";
inline constexpr char DynDns_ExpectedResultSubString[] = "ExpectedResultSubString";
inline constexpr char DynDns_Retry[] = "Retry";

// The values of ServiceType.
inline constexpr char ServiceType_UpdateUrl[] = "update-url";
inline constexpr char ServiceType_Gnudip[] = "gnudip";

inline constexpr char DNSRelay_EnableUserProvidedDnsServer[] = "EnableUserProvidedDnsServer";
inline constexpr char DNSRelay_UserProvidedDnsServerMode[] = "UserProvidedDnsServerMode";
inline constexpr char DNSRelay_PrimaryServerIp[] = "PrimaryServerIp";
inline constexpr char DNSRelay_SecondaryServerIp[] = "SecondaryServerIp";

inline constexpr char DNSClientServer_IPAddress[] = "IPAddress";
/// Who wrote the row: empty for a person, Origin_Watcher for the interface watcher. The daemon does not look at it.
inline constexpr char DNSClientServer_Origin[] = "Origin";
inline constexpr char Origin_Watcher[] = "netifwatch";

inline constexpr char DynDnsStatus_DynDnsId[] = "DynDnsId";
inline constexpr char DynDnsStatus_Timestamp[] = "Timestamp";
inline constexpr char DynDnsStatus_Success[] = "Success";

inline constexpr char DynDnsLog_DynDnsId[] = "DynDnsId";
inline constexpr char DynDnsLog_Timestamp[] = "Timestamp";
inline constexpr char DynDnsLog_ResponseCode[] = "ResponseCode";
inline constexpr char DynDnsLog_Response[] = "Response";

inline constexpr char etl_serial_no[] = "serial_no";
/// What stands for a serial number that was never set.
inline constexpr char SerialNo_Unknown[] = "Sxxxxxxxxxxxx";

} // namespace quorvad::dbm
