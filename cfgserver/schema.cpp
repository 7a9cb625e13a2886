#include "cfgserver/schema.h"

#include <algorithm>

namespace cfgserver
{

namespace
{

Column integer(const char* a_pName, int a_iDefault = 0)
{
    return {a_pName, korrin::Value(korrin::eValueInteger, a_iDefault)};
}

Column text(const char* a_pName, const char* a_pDefault = "")
{
    return {a_pName, korrin::Value(korrin::eValueText, a_pDefault)};
}

Column unique(Column a_oColumn)
{
    a_oColumn.m_bUnique = true;
    return a_oColumn;
}

Column secret(Column a_oColumn)
{
    a_oColumn.m_bSecret = true;
    return a_oColumn;
}

TableSchema table(const char* a_pName, std::vector<Column> a_oColumns)
{
    a_oColumns.insert(a_oColumns.begin(), unique(integer("Id")));
    return {a_pName, std::move(a_oColumns)};
}

TableSchema inMemory(TableSchema a_oTable)
{
    a_oTable.m_bVolatile = true;
    return a_oTable;
}

TableSchema fixedRow(TableSchema a_oTable)
{
    a_oTable.m_bFixedRow = true;
    return a_oTable;
}

std::vector<TableSchema> declareTables()
{
    return {
        table("DynDns",
              {integer("Enable", 1),
               text("Interface"),
               text("ServiceType", "update-url"),
               text("ServerAddr"),
               text("Hostname"),
               text("AccountUserName"),
               secret(text("Password")),
               text("ExpectedResultSubString"),
               integer("Retry", 5)}),
        inMemory(table("StatusNetifWatch", {unique(text("Name")), text("Addr"), integer("IsUp")})),
        inMemory(table("StatusNetIfIPv6Addresses", {unique(text("Name")), text("Addr")})),
        fixedRow(table("DNSRelay",
                       {integer("Enable", 1),
                        integer("EnableUserProvidedDnsServer"),
                        integer("UserProvidedDnsServerMode"),
                        text("PrimaryServerIp"),
                        text("SecondaryServerIp")})),
        table("DNSClientServer", {integer("Enable", 1), text("Interface"), text("IPAddress")}),
        // The default is the text that readers use for an unknown serial number, so that a number that was never set
        // reads the same whether they find the row or not.
        fixedRow(table("etl", {text("serial_no", "Sxxxxxxxxxxxx")})),
        table("DynDnsStatus", {unique(integer("DynDnsId")), text("Timestamp"), integer("Success")}),
        table("DynDnsLog", {integer("DynDnsId"), text("Timestamp"), integer("ResponseCode"), text("Response")}),
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

} // namespace cfgserver
