#pragma once

#include "korrin/valuelist.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The configuration database: its names, the fixed texts in it, and the properties of each table.
namespace quorvad::dbm
{

// Names and texts. Case-sensitive.

inline constexpr char Table_DynDns[] = "DynDns";
inline constexpr char Table_StatusNetifWatch[] = "StatusNetifWatch";
inline constexpr char Table_StatusNetIfIPv6Addresses[] = "StatusNetIfIPv6Addresses";
inline constexpr char Table_DNSRelay[] = "DNSRelay";
inline constexpr char Table_DNSClientServer[] = "DNSClientServer";
inline constexpr char Table_DynDnsStatus[] = "DynDnsStatus";
inline constexpr char Table_DynDnsLog[] = "DynDnsLog";
inline constexpr char Table_etl[] = "etl";
// Our own service tells these two; another one may lack them.
inline constexpr char Table_StatusServiceClients[] = "StatusServiceClients";
inline constexpr char Table_StatusServiceTables[] = "StatusServiceTables";

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
/// Text of an answer that says that the provider had the address already.
inline constexpr char DynDns_UnchangedResultSubString[] = "UnchangedResultSubString";
/// How often somebody asked for an update without another change; the daemon only sees that the row is another one.
inline constexpr char DynDns_UpdateRequests[] = "UpdateRequests";

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

inline constexpr char StatusServiceClients_Pid[] = "Pid";
inline constexpr char StatusServiceClients_User[] = "User";
inline constexpr char StatusServiceClients_ConnectedSeconds[] = "ConnectedSeconds";
/// Since the program was started, which a lost and found connection does not change.
inline constexpr char StatusServiceClients_RunningSeconds[] = "RunningSeconds";
inline constexpr char StatusServiceClients_ReadOnly[] = "ReadOnly";
inline constexpr char StatusServiceClients_Commits[] = "Commits";

/// -1: not since the service was started.
inline constexpr char StatusServiceTables_ChangedSeconds[] = "ChangedSeconds";
inline constexpr char StatusServiceTables_ChangedBy[] = "ChangedBy";

inline constexpr char etl_serial_no[] = "serial_no";
/// The placeholder for a serial number that was never set.
inline constexpr char SerialNo_Unknown[] = "Sxxxxxxxxxxxx";

/// Which part of a column's value is secret.
enum class ESecret
{
    eNone,
    eWhole, ///< a password
    eUrl    ///< a URL that may hold keys: its user part and the values of its query
};

/// What a table is for.
enum class EKind
{
    eSettings, ///< what people decide
    eState     ///< what a program reports; restoring an old state would mislead
};

/// One column. Its type is the type of its default.
struct Column
{
    std::string m_strName;
    korrin::Value m_oDefault;
    bool m_bUnique = false; ///< no two rows have the same value; rows are found by it without a search
    ESecret m_eSecret = ESecret::eNone;
};

/// One table. Its first column is always the unique integer "Id".
struct TableSchema
{
    std::string m_strName;
    EKind m_eKind;
    const char* m_pWriter; ///< the program that writes it besides people, or null
    std::vector<Column> m_oColumns;
    bool m_bVolatile = false; ///< kept in memory only: out of date after a restart anyway
    bool m_bFixedRow = false; ///< always exactly one row, Id 1, which can only be changed
    bool m_bComputed = false; ///< made by the service when it is read; cannot be written, and changes untold

    [[nodiscard]] std::optional<std::size_t> findColumn(std::string_view a_strName) const;
};

/// The position of column Id in every table.
inline constexpr std::size_t g_uiIdColumn = 0;

/// All tables, in the order in which clients see them: the one definition for the service that stores them and for
/// every program that reads them. Lives as long as the process; any thread.
[[nodiscard]] const std::vector<TableSchema>& getSchema();

/// The position of a table in getSchema().
[[nodiscard]] std::optional<std::size_t> findTable(std::string_view a_strName);

/// The column's secrecy; none for a table or a column that is not in the schema.
[[nodiscard]] ESecret secrecyOf(std::string_view a_strTable, std::string_view a_strColumn);

} // namespace quorvad::dbm
