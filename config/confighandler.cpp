#include "config/confighandler.h"

#include "config/nameservers.h"
#include "config/schema.h"
#include "platform/common/log.h"

namespace quorvad
{

constexpr char s_acLogFile[] = "confighandler";

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

std::string ConfigHandler::getNameservers(const std::string& a_strInterface) const
{
    std::vector<const korrin::ValueList*> oServers;
    for (const ConfigObject& oServer : m_oNameservers)
    {
        oServers.push_back(&oServer.m_oLastSnapshot);
    }
    std::string strServers = composeNameservers(m_oDnsRelay.m_oLastSnapshot, oServers, a_strInterface);
    LOG_DEBUG("Nameservers: %s", strServers.c_str());
    if (strServers.empty())
    {
        LOG_WARNING("Failed to load DNS nameservers from configuration.");
    }
    return strServers;
}

} // namespace quorvad
