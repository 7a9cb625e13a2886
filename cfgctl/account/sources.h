#pragma once

#include "cfgctl/database.h"

#include <string>

namespace cfgctl
{

/// The tables that the state of the accounts is put together from.
struct StatusSources
{
    Rows m_oAccounts;   ///< DynDns
    Rows m_oInterfaces; ///< StatusNetifWatch
    Rows m_oIPv6;       ///< StatusNetIfIPv6Addresses
    Rows m_oStatus;     ///< DynDnsStatus
    Rows m_oLog;        ///< DynDnsLog, the newest row last
    Rows m_oRelay;      ///< DNSRelay
    Rows m_oServers;    ///< DNSClientServer
    Rows m_oSerial;     ///< etl
};

/// Reads them one after the other. Throws Failure as Database does.
[[nodiscard]] StatusSources readSources(Database& a_oDatabase);

/// The last row whose column has that text; an empty row, which answers null for every column, when there is none. The
/// reference lives as long as the rows.
[[nodiscard]] const korrin::ValueList&
findLast(const Rows& a_oRows, const std::string& a_strColumn, const std::string& a_strText);

} // namespace cfgctl
