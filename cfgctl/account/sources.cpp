#include "cfgctl/account/sources.h"

#include <algorithm>

namespace cfgctl
{

StatusSources readSources(Database& a_oDatabase)
{
    StatusSources oSources;
    oSources.m_oAccounts = a_oDatabase.getRows("DynDns");
    oSources.m_oInterfaces = a_oDatabase.getRows("StatusNetifWatch");
    oSources.m_oIPv6 = a_oDatabase.getRows("StatusNetIfIPv6Addresses");
    oSources.m_oStatus = a_oDatabase.getRows("DynDnsStatus");
    oSources.m_oLog = a_oDatabase.getRows("DynDnsLog");
    oSources.m_oRelay = a_oDatabase.getRows("DNSRelay");
    oSources.m_oServers = a_oDatabase.getRows("DNSClientServer");
    oSources.m_oSerial = a_oDatabase.getRows("etl");
    return oSources;
}

const korrin::ValueList& findLast(const Rows& a_oRows, const std::string& a_strColumn, const std::string& a_strText)
{
    static const korrin::ValueList s_oNone;
    const auto it = std::find_if(a_oRows.rbegin(),
                                 a_oRows.rend(),
                                 [&](const korrin::ValueList& a_oRow)
                                 { return a_oRow.getValue(a_strColumn).getText() == a_strText; });
    return it == a_oRows.rend() ? s_oNone : *it;
}

} // namespace cfgctl
