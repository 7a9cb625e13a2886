#pragma once

#include "cfgctl/account/localinterfaces.h"
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

/// Where the service listens by default.
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

/// The client's operations, with failures as exceptions. Borrows the client. Every call is at least one request to the
/// service, may block up to the request's time limit and throws Failure that says what failed and gives the service's
/// reason.
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
    /// Empty if the service does not have the table.
    [[nodiscard]] Rows getRowsIfAny(const std::string& a_strTable);

    /// Waits up to a_oTimeout while another client has write access.
    void beginWrite(Milliseconds a_oTimeout);
    void insertRow(const std::string& a_strTable, const korrin::ValueList& a_oValues);
    void updateRow(const std::string& a_strTable, const std::string& a_strId, const korrin::ValueList& a_oValues);
    void deleteRow(const std::string& a_strTable, const std::string& a_strId);
    /// Without it, the writes are lost when the connection closes.
    void commit();

    /// A whole transaction that adds one row. Returns the row's Id.
    korrin::Value addRow(const std::string& a_strTable, const korrin::ValueList& a_oValues, Milliseconds a_oTimeout);

private:
    void check(korrin::protocol::EResultCode a_oResult, const std::string& a_strWhat);

    vadro::cfg::common::IConfigClient& m_oClient;
};

/// What tells the state of the accounts: tables, and what the kernel says.
struct StatusSources
{
    Rows m_oAccounts;         ///< DynDns
    Rows m_oInterfaces;       ///< StatusNetifWatch
    Rows m_oIPv6;             ///< StatusNetIfIPv6Addresses
    Rows m_oStatus;           ///< DynDnsStatus
    Rows m_oLog;              ///< DynDnsLog, the newest row last
    Rows m_oRelay;            ///< DNSRelay
    Rows m_oServers;          ///< DNSClientServer
    Rows m_oSerial;           ///< etl
    Rows m_oClients;          ///< StatusServiceClients; empty if the service does not tell
    Rows m_oChanges;          ///< StatusServiceTables; empty if the service does not tell
    LocalInterfaces m_oLocal; ///< of this machine; empty if unknown
};

/// Reads them one after the other, and the kernel's interfaces. Throws Failure as Database does.
[[nodiscard]] StatusSources readSources(Database& a_oDatabase);

/// The last row whose column has that text; an empty row, all of whose columns are null, if there is none. The
/// reference is valid as long as the rows.
[[nodiscard]] const korrin::ValueList&
findLast(const Rows& a_oRows, const std::string& a_strColumn, const std::string& a_strText);

} // namespace cfgctl
