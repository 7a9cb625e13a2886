#include "config/confighandler.h"
#include "config/rows.h"
#include "config/schema.h"
#include "platform/common/log.h"

namespace quorvad
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "confighandler";

bool readInterface(IConfigClient& a_oClient,
                   const char* a_pTable,
                   const std::vector<const char*>& a_oColumns,
                   const std::string& a_strInterface,
                   korrin::ValueList& a_oRow)
{
    korrin::NameList oColumns;
    for (const char* pColumn : a_oColumns)
    {
        oColumns.add(pColumn);
    }
    return a_oClient.getrowbykey(a_pTable, dbm::Name, a_strInterface, oColumns, a_oRow) == 0;
}

} // namespace

bool ConfigHandler::loadFromConfig(IConfigClient& a_oClient, const std::string& a_strTable)
{
    LOG_DEBUG("loadFromConfig");
    if (m_bInitial)
    {
        LOG_DEBUG("Init cache with data from config tables.");
        updateCachedTables(a_oClient, false);
        loadSerialNumber(a_oClient);
        updateUserDnsServers(a_oClient);
        updateOtherDnsServers(a_oClient);
        m_bInitial = false;
    }
    else if (a_strTable == dbm::Table_DynDns)
    {
        LOG_DEBUG("Table DynDns changed.");
        updateCachedTables(a_oClient, false);
        updateUserDnsServers(a_oClient);
        updateOtherDnsServers(a_oClient);
    }
    else if (a_strTable == dbm::Table_StatusNetifWatch)
    {
        LOG_DEBUG("Table StatusNetifWatch changed.");
        refreshInterfaces(a_oClient, netifWatchTable());
    }
    else if (a_strTable == dbm::Table_StatusNetIfIPv6Addresses)
    {
        LOG_DEBUG("Table StatusNetIfIPv6Addresses changed.");
        refreshInterfaces(a_oClient, netifIPv6Table());
    }
    else if (a_strTable == dbm::Table_DNSClientServer)
    {
        updateOtherDnsServers(a_oClient);
    }
    else if (a_strTable == dbm::Table_DNSRelay)
    {
        updateUserDnsServers(a_oClient);
    }
    return true;
}

void ConfigHandler::updateCachedTables(IConfigClient& a_oClient, bool a_bClearFirst)
{
    LOG_DEBUG("updateCachedTables");
    if (a_bClearFirst)
    {
        m_oDynDnsCfgs.clear();
        m_oNetifWatch.clear();
        m_oNetifIPv6.clear();
    }
    forEachRow(a_oClient, dbm::Table_DynDns, [&](korrin::ValueList& a_oRow) { updateAccount(a_oClient, a_oRow); });
}

void ConfigHandler::updateAccount(IConfigClient& a_oClient, korrin::ValueList& a_oRow)
{
    if (!hasId(dbm::Table_DynDns, a_oRow))
    {
        return;
    }
    const int iId = a_oRow.getValue(dbm::Id).getInteger();
    auto it = m_oDynDnsCfgs.find(iId);
    if (it == m_oDynDnsCfgs.end())
    {
        auto pAccount = std::make_unique<ConfigObject>(dbm::Table_DynDns, static_cast<unsigned int>(iId));
        it = m_oDynDnsCfgs.emplace(iId, std::move(pAccount)).first;
        LOG_DEBUG("Initialize DynDNS cfg id %d", iId);
    }
    LOG_DEBUG("Update DynDNS cfg id %d", iId);
    it->second->updateSnapshot(a_oRow);
    const std::string strInterface = textOf(a_oRow, dbm::Interface);
    if (strInterface.empty())
    {
        return;
    }
    LOG_DEBUG("Get IPv4 information for interface '%s'.", strInterface.c_str());
    loadInterface(a_oClient, netifWatchTable(), strInterface);
    loadInterface(a_oClient, netifIPv6Table(), strInterface);
}

void ConfigHandler::loadSerialNumber(IConfigClient& a_oClient)
{
    LOG_DEBUG("loadSerialNumber");
    korrin::NameList oColumns;
    korrin::ValueList oRow;
    if (a_oClient.getrowbykey(dbm::Table_etl, dbm::Id, "1", oColumns, oRow) != 0 || !oRow.hasValue(dbm::etl_serial_no))
    {
        m_strSerialNo = dbm::SerialNo_Unknown;
        return;
    }
    m_strSerialNo = textOf(oRow, dbm::etl_serial_no);
    LOG_DEBUG("CPE's serial no.: %s", m_strSerialNo.c_str());
}

// A row without its key cannot be identified; one such row must not cost the rest.
bool ConfigHandler::hasId(const char* a_pTable, const korrin::ValueList& a_oRow) const
{
    if (a_oRow.hasValue(dbm::Id))
    {
        return true;
    }
    LOG_WARNING("Skipping a row of table %s without column Id.", a_pTable);
    return false;
}

// Full reload and notification read the same columns of an interface: a different list would count as a change of the
// row.
ConfigHandler::InterfaceTable ConfigHandler::netifWatchTable()
{
    return {dbm::Table_StatusNetifWatch, {dbm::Id, dbm::Addr, dbm::IsUp, dbm::Name}, m_oNetifWatch};
}

ConfigHandler::InterfaceTable ConfigHandler::netifIPv6Table()
{
    return {dbm::Table_StatusNetIfIPv6Addresses, {dbm::Id, dbm::Addr, dbm::Name}, m_oNetifIPv6};
}

// During a full reload an interface that cannot be read keeps its cached row.
void ConfigHandler::loadInterface(IConfigClient& a_oClient,
                                  const InterfaceTable& a_oTable,
                                  const std::string& a_strInterface)
{
    korrin::ValueList oRow;
    if (readInterface(a_oClient, a_oTable.m_pTable, a_oTable.m_oColumns, a_strInterface, oRow))
    {
        storeInterface(a_oTable, a_strInterface, oRow);
    }
}

void ConfigHandler::refreshInterfaces(IConfigClient& a_oClient, const InterfaceTable& a_oTable)
{
    forEachRow(a_oClient,
               dbm::Table_DynDns,
               [&](const korrin::ValueList& a_oAccount)
               {
                   const std::string strInterface = textOf(a_oAccount, dbm::Interface);
                   if (!strInterface.empty())
                   {
                       refreshInterface(a_oClient, a_oTable, strInterface);
                   }
               });
}

// The status table has just changed: an interface that is no longer in it is gone.
void ConfigHandler::refreshInterface(IConfigClient& a_oClient,
                                     const InterfaceTable& a_oTable,
                                     const std::string& a_strInterface)
{
    korrin::ValueList oRow;
    if (!readInterface(a_oClient, a_oTable.m_pTable, a_oTable.m_oColumns, a_strInterface, oRow))
    {
        LOG_DEBUG("DB entry '%s' for '%s' not accessible => delete related cached obj.",
                  a_oTable.m_pTable,
                  a_strInterface.c_str());
        a_oTable.m_oRows.erase(a_strInterface);
        return;
    }
    const ConfigObject* pRow = storeInterface(a_oTable, a_strInterface, oRow);
    if (pRow != nullptr)
    {
        LOG_DEBUG("cached obj changed? %s", pRow->m_bChanged ? "YES" : "NO");
    }
}

// The cached row after the update; null when the row was skipped.
const ConfigObject* ConfigHandler::storeInterface(const InterfaceTable& a_oTable,
                                                  const std::string& a_strInterface,
                                                  korrin::ValueList& a_oRow)
{
    if (!hasId(a_oTable.m_pTable, a_oRow))
    {
        return nullptr;
    }
    auto it = a_oTable.m_oRows.find(a_strInterface);
    if (it == a_oTable.m_oRows.end())
    {
        const int iId = a_oRow.getValue(dbm::Id).getInteger();
        auto pRow = std::make_unique<ConfigObject>(a_oTable.m_pTable, static_cast<unsigned int>(iId));
        it = a_oTable.m_oRows.emplace(a_strInterface, std::move(pRow)).first;
    }
    it->second->updateSnapshot(a_oRow);
    return it->second.get();
}

void ConfigHandler::updateUserDnsServers(IConfigClient& a_oClient)
{
    korrin::NameList oColumns;
    korrin::ValueList oRow;
    if (a_oClient.getrow(dbm::Table_DNSRelay, 0, oColumns, oRow) == 0)
    {
        m_oDnsRelay.updateSnapshot(oRow);
    }
}

void ConfigHandler::updateOtherDnsServers(IConfigClient& a_oClient)
{
    m_oNameservers.clear();
    forEachRow(a_oClient,
               dbm::Table_DNSClientServer,
               [&](korrin::ValueList& a_oRow)
               {
                   if (hasId(dbm::Table_DNSClientServer, a_oRow))
                   {
                       const int iId = a_oRow.getValue(dbm::Id).getInteger();
                       ConfigObject oServer(dbm::Table_DNSClientServer, static_cast<unsigned int>(iId));
                       oServer.updateSnapshot(a_oRow);
                       m_oNameservers.push_back(std::move(oServer));
                   }
               });
}

} // namespace quorvad
