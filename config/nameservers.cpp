#include "config/columns.h"
#include "config/confighandler.h"
#include "config/tablereader.h"
#include "platform/common/log.h"

namespace quorvad
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "confighandler";

void appendServer(std::string& a_strServers, const std::string& a_strAddress)
{
    if (!a_strServers.empty())
    {
        a_strServers += ",";
    }
    a_strServers += a_strAddress;
}

} // namespace

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

// The relay row may never have been read, and a server row may lack columns: they then count as switched off.
std::string ConfigHandler::getNameservers(const std::string& a_strInterface) const
{
    const bool bUserServers = userServersOn();
    const int iMode = integerOf(m_oDnsRelay, dbm::DNSRelay_UserProvidedDnsServerMode);
    std::string strServers;
    if (!bUserServers || iMode == 0)
    {
        strServers = interfaceServers(a_strInterface);
    }
    if (bUserServers)
    {
        appendServer(strServers, textOf(m_oDnsRelay, dbm::DNSRelay_PrimaryServerIp));
        strServers += ",";
        strServers += textOf(m_oDnsRelay, dbm::DNSRelay_SecondaryServerIp);
    }
    LOG_DEBUG("Nameservers: %s", strServers.c_str());
    if (strServers.empty())
    {
        LOG_WARNING("Failed to load DNS nameservers from configuration.");
    }
    return strServers;
}

bool ConfigHandler::userServersOn() const
{
    return integerOf(m_oDnsRelay, dbm::Enable) != 0 &&
           integerOf(m_oDnsRelay, dbm::DNSRelay_EnableUserProvidedDnsServer) != 0;
}

std::string ConfigHandler::interfaceServers(const std::string& a_strInterface) const
{
    std::string strServers;
    for (const ConfigObject& oServer : m_oNameservers)
    {
        if (unsignedOf(oServer, dbm::Enable) != 0 && textOf(oServer, dbm::Interface) == a_strInterface)
        {
            appendServer(strServers, textOf(oServer, dbm::DNSClientServer_IPAddress));
        }
    }
    return strServers;
}

} // namespace quorvad
