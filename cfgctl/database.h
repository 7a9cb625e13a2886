#pragma once

#include "cfgctl/tablejson.h"
#include "config/schema.h"
#include "korrin/net/eventdispatcher.h"
#include "vadro/cfg/common/iconfigclient.h"
#include "vadro/cfg/notificationhandler.h"

#include <chrono>
#include <string>
#include <vector>

namespace cfgctl
{

namespace dbm = quorvad::dbm;

/// Where the service listens unless it is told otherwise.
constexpr const char* g_pDefaultSocket = "/tmp/cfgserver.socket";

/// A connection to the configuration service for the length of one command; one thread.
class Session
{
public:
    /// Blocks until connected. Throws Failure, after about a second when the service cannot be reached, after three
    /// when it does not answer. With a handler, process() delivers table changes to it, and a lost connection is
    /// rebuilt.
    explicit Session(const std::string& a_strSocket, vadro::cfg::IConfigHandler* a_pHandler = nullptr);

    [[nodiscard]] vadro::cfg::common::IConfigClient& getClient() { return m_oNotifications.getConfigClient(); }
    [[nodiscard]] korrin::net::EventDispatcher& getDispatcher() { return m_oDispatcher; }
    void process() { m_oNotifications.process(); }

private:
    korrin::net::EventDispatcher m_oDispatcher;
    vadro::cfg::NotificationHandler m_oNotifications;
};

/// The client's operations with their failures turned into texts. Borrows the client. Every call is at least one
/// exchange with the service, may block for its time limit and throws Failure that says what could not be done and the
/// service's reason.
class Database
{
public:
    using Milliseconds = std::chrono::milliseconds;

    explicit Database(vadro::cfg::common::IConfigClient& a_oClient) : m_oClient(a_oClient) {}

    [[nodiscard]] std::vector<std::string> getTables();
    [[nodiscard]] korrin::ValueList getColumns(const std::string& a_strTable);
    [[nodiscard]] Schema getSchema();
    [[nodiscard]] unsigned int countRows(const std::string& a_strTable);
    [[nodiscard]] Rows getRows(const std::string& a_strTable);

    /// Asks for write access again and again while another client holds it, for at most that long.
    void beginWrite(Milliseconds a_oPatience);
    void insertRow(const std::string& a_strTable, const korrin::ValueList& a_oValues);
    void updateRow(const std::string& a_strTable, const std::string& a_strId, const korrin::ValueList& a_oValues);
    void deleteRow(const std::string& a_strTable, const std::string& a_strId);
    /// Without it, the writes vanish with the connection.
    void commit();

    /// Writes one row, all in one; gives its Id.
    korrin::Value addRow(const std::string& a_strTable, const korrin::ValueList& a_oValues, Milliseconds a_oPatience);

private:
    void check(korrin::protocol::EResultCode a_oResult, const std::string& a_strWhat);

    vadro::cfg::common::IConfigClient& m_oClient;
};

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
