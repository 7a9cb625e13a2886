#include "config/schema.h"

#include "platform/common/values.h"

#include <algorithm>

namespace quorvad::dbm
{

namespace
{

constexpr char s_acWatcher[] = "netifwatch";
constexpr char s_acDaemon[] = "quorvad";
constexpr char s_acService[] = "cfgserver";

Column integer(const char* a_pName, int a_iDefault = 0)
{
    return {a_pName, platform::integer(a_iDefault)};
}

Column text(const char* a_pName, const char* a_pDefault = "")
{
    return {a_pName, platform::text(a_pDefault)};
}

Column unique(Column a_oColumn)
{
    a_oColumn.m_bUnique = true;
    return a_oColumn;
}

Column secret(ESecret a_eSecret, Column a_oColumn)
{
    a_oColumn.m_eSecret = a_eSecret;
    return a_oColumn;
}

TableSchema table(const char* a_pName, EKind a_eKind, const char* a_pWriter, std::vector<Column> a_oColumns)
{
    a_oColumns.insert(a_oColumns.begin(), unique(integer(Id)));
    return {a_pName, a_eKind, a_pWriter, std::move(a_oColumns)};
}

TableSchema inMemory(TableSchema a_oTable)
{
    a_oTable.m_bVolatile = true;
    return a_oTable;
}

TableSchema computed(TableSchema a_oTable)
{
    a_oTable.m_bComputed = true;
    return inMemory(std::move(a_oTable));
}

TableSchema fixedRow(TableSchema a_oTable)
{
    a_oTable.m_bFixedRow = true;
    return a_oTable;
}

std::vector<TableSchema> declareTables()
{
    return {
        table(Table_DynDns,
              EKind::eSettings,
              nullptr,
              {integer(Enable, 1),
               text(Interface),
               text(DynDns_ServiceType, ServiceType_UpdateUrl),
               secret(ESecret::eUrl, text(DynDns_ServerAddr)),
               text(DynDns_Hostname),
               text(DynDns_AccountUserName),
               secret(ESecret::eWhole, text(DynDns_Password)),
               text(DynDns_ExpectedResultSubString),
               integer(DynDns_Retry, 5),
               text(DynDns_UnchangedResultSubString),
               integer(DynDns_UpdateRequests)}),
        inMemory(
            table(Table_StatusNetifWatch, EKind::eState, s_acWatcher, {unique(text(Name)), text(Addr), integer(IsUp)})),
        inMemory(table(Table_StatusNetIfIPv6Addresses, EKind::eState, s_acWatcher, {unique(text(Name)), text(Addr)})),
        fixedRow(table(Table_DNSRelay,
                       EKind::eSettings,
                       nullptr,
                       {integer(Enable, 1),
                        integer(DNSRelay_EnableUserProvidedDnsServer),
                        integer(DNSRelay_UserProvidedDnsServerMode),
                        text(DNSRelay_PrimaryServerIp),
                        text(DNSRelay_SecondaryServerIp)})),
        table(Table_DNSClientServer,
              EKind::eSettings,
              s_acWatcher,
              {integer(Enable, 1), text(Interface), text(DNSClientServer_IPAddress), text(DNSClientServer_Origin)}),
        fixedRow(table(Table_etl, EKind::eSettings, nullptr, {text(etl_serial_no, SerialNo_Unknown)})),
        table(Table_DynDnsStatus,
              EKind::eState,
              s_acDaemon,
              {unique(integer(DynDnsStatus_DynDnsId)), text(DynDnsStatus_Timestamp), integer(DynDnsStatus_Success)}),
        table(Table_DynDnsLog,
              EKind::eState,
              s_acDaemon,
              {integer(DynDnsLog_DynDnsId),
               text(DynDnsLog_Timestamp),
               integer(DynDnsLog_ResponseCode),
               text(DynDnsLog_Response)}),
        computed(table(Table_StatusServiceClients,
                       EKind::eState,
                       s_acService,
                       {text(Name),
                        integer(StatusServiceClients_Pid),
                        integer(StatusServiceClients_User),
                        integer(StatusServiceClients_ConnectedSeconds),
                        integer(StatusServiceClients_RunningSeconds),
                        integer(StatusServiceClients_ReadOnly),
                        integer(StatusServiceClients_Commits)})),
        computed(table(Table_StatusServiceTables,
                       EKind::eState,
                       s_acService,
                       {unique(text(Name)),
                        integer(StatusServiceTables_ChangedSeconds, -1),
                        text(StatusServiceTables_ChangedBy)})),
    };
}

template<typename List>
std::optional<std::size_t> findByName(const List& a_oList, std::string_view a_strName)
{
    const auto it = std::find_if(
        a_oList.begin(), a_oList.end(), [&](const auto& a_oItem) { return a_oItem.m_strName == a_strName; });
    if (it == a_oList.end())
    {
        return std::nullopt;
    }
    return static_cast<std::size_t>(it - a_oList.begin());
}

} // namespace

std::optional<std::size_t> TableSchema::findColumn(std::string_view a_strName) const
{
    return findByName(m_oColumns, a_strName);
}

const std::vector<TableSchema>& getSchema()
{
    static const std::vector<TableSchema> s_oTables = declareTables();
    return s_oTables;
}

std::optional<std::size_t> findTable(std::string_view a_strName)
{
    return findByName(getSchema(), a_strName);
}

ESecret secrecyOf(std::string_view a_strTable, std::string_view a_strColumn)
{
    const std::optional<std::size_t> uiTable = findTable(a_strTable);
    const std::optional<std::size_t> uiColumn = uiTable ? getSchema()[*uiTable].findColumn(a_strColumn) : std::nullopt;
    return uiColumn ? getSchema()[*uiTable].m_oColumns[*uiColumn].m_eSecret : ESecret::eNone;
}

} // namespace quorvad::dbm
