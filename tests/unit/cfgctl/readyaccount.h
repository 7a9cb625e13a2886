#pragma once

#include "cfgctl/database.h"
#include "platform/common/values.h"
#include "tests/unit/config/memoryclient.h"

/// The row with another value in that column.
inline korrin::ValueList change(korrin::ValueList a_oRow, const char* a_pColumn, const std::string& a_strValue)
{
    a_oRow.remove(a_pColumn);
    a_oRow.add(a_pColumn, platform::text(a_strValue));
    return a_oRow;
}

/// One account that is ready on an interface that is up, and the tables around it.
inline const korrin::ValueList g_oReady =
    makeRow("Id=1 Enable=1 Interface=ppp0 ServiceType=update-url Hostname=a.example "
            "ServerAddr=https://h.example/?h=<domain>&k=<password>&ip=<ipaddr> "
            "AccountUserName= Password=geheim ExpectedResultSubString=good Retry=3");

inline cfgctl::StatusSources sources(const std::string& a_strAddress = "192.0.2.7", const std::string& a_strUp = "1")
{
    cfgctl::StatusSources oSources;
    oSources.m_oInterfaces = {makeRow("Name=ppp0 Addr=" + a_strAddress + " IsUp=" + a_strUp)};
    oSources.m_oServers = {makeRow("Enable=1 Interface=ppp0 IPAddress=192.0.2.53")};
    return oSources;
}
