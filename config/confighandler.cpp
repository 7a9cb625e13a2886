#include "config/confighandler.h"

#include "config/columns.h"
#include "config/tablereader.h"
#include "platform/common/log.h"

namespace quorvad
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "confighandler";

} // namespace

ConfigHandler::ConfigHandler()
    : m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad")), m_strSerialNo(dbm::SerialNo_Unknown), m_bInitial(true),
      m_oDnsRelay(dbm::Table_DNSRelay, 1)
{
}

ConfigHandler::~ConfigHandler()
{
    for (const auto& [iId, pScheduler] : m_oSchedulers)
    {
        pScheduler->announceStop();
    }
}

void ConfigHandler::getTableNames(std::list<std::string>& a_oNames)
{
    LOG_DEBUG("getTableNames");
    for (const char* pTable : {dbm::Table_DynDns,
                               dbm::Table_StatusNetifWatch,
                               dbm::Table_StatusNetIfIPv6Addresses,
                               dbm::Table_DNSRelay,
                               dbm::Table_DNSClientServer})
    {
        a_oNames.emplace_back(pTable);
    }
}

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

// Without its key a row can't be told from the others; one such row must not cost the rest.
bool ConfigHandler::hasId(const char* a_pTable, const korrin::ValueList& a_oRow) const
{
    if (a_oRow.hasValue(dbm::Id))
    {
        return true;
    }
    LOG_WARNING("Skipping a row of table %s without column Id.", a_pTable);
    return false;
}

} // namespace quorvad
