#include "cfgctl/database.h"

#include "cfgctl/errors.h"
#include "platform/base/eventloop.h"
#include "platform/base/io.h"
#include "platform/client/connection.h"
#include "platform/common/deadline.h"
#include "platform/wire/message.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <grp.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace cfgctl
{

namespace
{

constexpr unsigned s_uiConnectTimeoutSec = 1;
constexpr unsigned s_uiRetryDelayMs = 200;
constexpr std::chrono::seconds s_oAnswerTimeout{3};
constexpr std::chrono::milliseconds s_oAccessRetryDelay{100}; // for write access

/// Tries to connect: 0, an errno value, or -1 if the listener is not a trusted user.
int probe(const std::string& a_strSocket)
{
    const platform::UniqueFd oSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!platform::UnixAddress(a_strSocket).connect(oSocket.get()))
    {
        return errno;
    }
    ucred oPeer = {};
    socklen_t uiSize = sizeof oPeer;
    const bool bKnown = getsockopt(oSocket.get(), SOL_SOCKET, SO_PEERCRED, &oPeer, &uiSize) == 0;
    return bKnown && !platform::isTrustedUser(oPeer.uid) ? -1 : 0;
}

/// Who may use the socket, with the name of its group if it has one.
std::string nameUsers(const std::string& a_strSocket)
{
    struct stat oStatus = {};
    const bool bGroup = stat(a_strSocket.c_str(), &oStatus) == 0 && (oStatus.st_mode & S_IWGRP) != 0;
    // cppcheck-suppress getgrgidCalled ; only one thread
    const group* pGroup = bGroup ? getgrgid(oStatus.st_gid) : nullptr;
    if (pGroup == nullptr)
    {
        return "Only its owner, its group and root may use it: try again as one of them, for instance with sudo";
    }
    const std::string strGroup = pGroup->gr_name;
    return "Only root and the group '" + strGroup + "' may use it: try again with sudo, or join the group with 'sudo " +
           "adduser USER " + strGroup + "' and log in again";
}

std::string describeStart(const std::string& a_strSocket)
{
    if (a_strSocket != g_pDefaultSocket)
    {
        return "cfgserver --socket " + a_strSocket;
    }
    return access("/run/systemd/system", F_OK) == 0 ? "systemctl start cfgserver" : "cfgserver";
}

std::string nextStep(const std::string& a_strSocket)
{
    switch (probe(a_strSocket))
    {
    case 0:
        return "Its log may tell why";
    case -1:
        return "Find out who listens there, or say with --socket PATH where the service does";
    case EACCES:
        return nameUsers(a_strSocket);
    case EAGAIN:
        return "It has more requests than it can answer: try again later; its log may tell why";
    default:
        return "Is it running? Start it with '" + describeStart(a_strSocket) +
               "', or say with --socket PATH where it listens";
    }
}

std::string withoutFullStop(std::string a_strText)
{
    a_strText.erase(a_strText.find_last_not_of('.') + 1);
    return a_strText;
}

bool is(korrin::protocol::EResultCode a_oResult, wire::Result a_eResult)
{
    return a_oResult == static_cast<unsigned int>(a_eResult);
}

const char* hint(korrin::protocol::EResultCode a_oResult)
{
    if (is(a_oResult, wire::Result::UnknownTable))
    {
        return " ('cfgctl tables' lists them)";
    }
    if (is(a_oResult, wire::Result::AccessTaken))
    {
        return " (try again later, or wait longer with --wait SECONDS)";
    }
    return "";
}

} // namespace

Session::Session(const std::string& a_strSocket, vadro::cfg::IConfigHandler* a_pHandler)
    : m_oNotifications(a_strSocket.c_str(),
                       m_oDispatcher,
                       a_pHandler == nullptr ? "cfgctl" : "cfgctl watch",
                       a_pHandler != nullptr,
                       s_uiConnectTimeoutSec,
                       s_uiRetryDelayMs,
                       a_pHandler != nullptr,
                       a_pHandler != nullptr)
{
    m_oNotifications.registerConfigHandler(a_pHandler);
    m_oNotifications.deliverAllOnReturn();
    // The library waits longer for a service that accepts and does not answer.
    platform::Timer oTimeout(m_oDispatcher.getEventLoop(), [this] { m_oDispatcher.wakeUp(); });
    oTimeout.start(s_oAnswerTimeout);
    try
    {
        m_oNotifications.initialize();
    }
    catch (const std::exception& oError)
    {
        throw Failure(withoutFullStop(oError.what()) + ". " + nextStep(a_strSocket));
    }
    std::string strVersion;
    require(getClient().getserviceversion(strVersion) == 0,
            "The configuration service at '" + a_strSocket + "' does not answer; its log may tell why");
}

void Database::check(korrin::protocol::EResultCode a_oResult, const std::string& a_strWhat)
{
    if (a_oResult == 0)
    {
        return;
    }
    std::string strReason;
    m_oClient.getlasterror(strReason);
    if (strReason.empty())
    {
        strReason = "the service gave no reason (code " + std::to_string(a_oResult) + ")";
    }
    throw Failure(a_strWhat + ": " + strReason + hint(a_oResult));
}

std::vector<std::string> Database::getTables()
{
    std::list<std::string> oNames;
    check(m_oClient.gettables(oNames), "Cannot list the tables");
    return {oNames.begin(), oNames.end()};
}

korrin::ValueList Database::getColumns(const std::string& a_strTable)
{
    korrin::ValueList oColumns;
    check(m_oClient.getcolumns(a_strTable, oColumns), "Cannot read the columns of table " + a_strTable);
    return oColumns;
}

Schema Database::getSchema()
{
    Schema oSchema;
    for (const std::string& strTable : getTables())
    {
        oSchema[strTable] = getColumns(strTable);
    }
    return oSchema;
}

unsigned int Database::countRows(const std::string& a_strTable)
{
    unsigned int uiCount = 0;
    check(m_oClient.getrowcount(a_strTable, uiCount), "Cannot count the rows of table " + a_strTable);
    return uiCount;
}

Rows Database::getRows(const std::string& a_strTable)
{
    Rows oRows;
    check(m_oClient.getrows(a_strTable, oRows), "Cannot read table " + a_strTable);
    return oRows;
}

Rows Database::getRowsIfAny(const std::string& a_strTable)
{
    Rows oRows;
    return m_oClient.getrows(a_strTable, oRows) == 0 ? oRows : Rows();
}

void Database::beginWrite(Milliseconds a_oTimeout)
{
    const platform::Deadline oDeadline(a_oTimeout);
    korrin::protocol::EResultCode oResult = m_oClient.getdbaccess();
    while (is(oResult, wire::Result::AccessTaken) && !oDeadline.hasPassed())
    {
        std::this_thread::sleep_for(s_oAccessRetryDelay);
        oResult = m_oClient.getdbaccess();
    }
    check(oResult, "Cannot get write access");
}

void Database::insertRow(const std::string& a_strTable, const korrin::ValueList& a_oValues)
{
    check(m_oClient.insertrow(a_strTable, a_oValues), "Cannot add a row to table " + a_strTable);
}

void Database::updateRow(const std::string& a_strTable, const std::string& a_strId, const korrin::ValueList& a_oValues)
{
    check(m_oClient.updatekey(a_strTable, "Id", a_strId, a_oValues),
          "Cannot change the row with Id " + a_strId + " of table " + a_strTable);
}

void Database::deleteRow(const std::string& a_strTable, const std::string& a_strId)
{
    check(m_oClient.deletekey(a_strTable, "Id", a_strId),
          "Cannot delete the row with Id " + a_strId + " of table " + a_strTable);
}

void Database::commit()
{
    const korrin::protocol::EResultCode oResult = m_oClient.commit();
    const bool bAnswered = oResult < static_cast<unsigned int>(wire::Result::Disconnected);
    check(oResult,
          bAnswered ? "Nothing was written"
                    : "The service did not say whether it wrote everything or nothing; check before you try again");
}

korrin::Value
Database::addRow(const std::string& a_strTable, const korrin::ValueList& a_oValues, Milliseconds a_oTimeout)
{
    beginWrite(a_oTimeout);
    insertRow(a_strTable, a_oValues);
    korrin::NameList oNames;
    oNames.add("Id");
    korrin::ValueList oRow;
    check(m_oClient.getrow(a_strTable, countRows(a_strTable) - 1, oNames, oRow), // a writer reads what it wrote
          "Cannot read the last row of table " + a_strTable);
    commit();
    return oRow.getValue("Id");
}

StatusSources readSources(Database& a_oDatabase)
{
    StatusSources oSources;
    // before the log: what happens in between is then seen in the log
    oSources.m_oClients = a_oDatabase.getRowsIfAny(dbm::Table_StatusServiceClients);
    oSources.m_oChanges = a_oDatabase.getRowsIfAny(dbm::Table_StatusServiceTables);
    oSources.m_oAccounts = a_oDatabase.getRows(dbm::Table_DynDns);
    oSources.m_oInterfaces = a_oDatabase.getRows(dbm::Table_StatusNetifWatch);
    oSources.m_oIPv6 = a_oDatabase.getRows(dbm::Table_StatusNetIfIPv6Addresses);
    oSources.m_oLog = a_oDatabase.getRows(dbm::Table_DynDnsLog);
    // after the log: it decides on the log's newest row
    oSources.m_oStatus = a_oDatabase.getRows(dbm::Table_DynDnsStatus);
    oSources.m_oRelay = a_oDatabase.getRows(dbm::Table_DNSRelay);
    oSources.m_oServers = a_oDatabase.getRows(dbm::Table_DNSClientServer);
    oSources.m_oSerial = a_oDatabase.getRows(dbm::Table_etl);
    oSources.m_oLocal = readLocalInterfaces();
    return oSources;
}

const korrin::ValueList& findLast(const Rows& a_oRows, const std::string& a_strColumn, const std::string& a_strText)
{
    static const korrin::ValueList s_oNone;
    const auto it =
        std::find_if(a_oRows.rbegin(),
                     a_oRows.rend(),
                     [&](const korrin::ValueList& a_oRow) { return textOf(a_oRow, a_strColumn) == a_strText; });
    return it == a_oRows.rend() ? s_oNone : *it;
}

} // namespace cfgctl
