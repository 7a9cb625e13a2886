#include "cfgserver/service.h"

#include "cfgserver/refusal.h"
#include "platform/base/escape.h"
#include "platform/common/log.h"
#include "platform/common/values.h"

#include <algorithm>

namespace cfgserver
{

using wire::Operation;
using wire::Result;

namespace
{

constexpr char s_acLogFile[] = "service";

constexpr std::size_t s_uiClientNameBytes = 64;

std::size_t requireTable(const std::string& a_strName)
{
    const auto oTable = findTable(a_strName);
    if (!oTable)
    {
        throw Refusal(Result::UnknownTable, "there is no table " + quoted(a_strName));
    }
    return *oTable;
}

void checkVersion(const wire::Request& a_oHello)
{
    if (a_oHello.m_uiNumber != wire::g_uiProtocolVersion)
    {
        throw Refusal(Result::NotSupported,
                      "client speaks protocol version " + std::to_string(a_oHello.m_uiNumber) + ", this service " +
                          std::to_string(wire::g_uiProtocolVersion) + "; use programs of one release");
    }
}

long long toSeconds(std::chrono::milliseconds a_oTime)
{
    return std::chrono::duration_cast<std::chrono::seconds>(a_oTime).count();
}

/// How long the client says that it has been running, in seconds.
int readAge(const korrin::ValueList& a_oOptions)
{
    return a_oOptions.hasValue(wire::g_acAgeOption) ? a_oOptions.getValue(wire::g_acAgeOption).getInteger() : 0;
}

void listTables(wire::Reply& a_oReply)
{
    for (const TableSchema& oSchema : getSchema())
    {
        a_oReply.m_oNames.add(oSchema.m_strName);
    }
}

} // namespace

Service::Service(Store& a_oStore, const AccessLimits& a_oLimits)
    : m_oStore(a_oStore), m_oLimits(a_oLimits), m_iModuleId(VADRO_Sysloglevel_registerModul("cfgserver"))
{
}

Service::Answer Service::answer(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow)
{
    Answer oAnswer;
    try
    {
        carryOut(a_oClient, a_oRequest, a_oNow, oAnswer);
    }
    catch (const Refusal& oRefusal)
    {
        oAnswer.m_oReply = {};
        oAnswer.m_oReply.m_eResult = oRefusal.getResult();
        oAnswer.m_oReply.m_strError = oRefusal.what();
    }
    catch (const std::bad_alloc&)
    {
        // What was being written is in an unknown state; what is committed is not.
        dropAccess(a_oClient);
        oAnswer.m_oReply = {};
        oAnswer.m_oReply.m_eResult = Result::TooLarge;
        oAnswer.m_oReply.m_strError = "the service is out of memory; uncommitted writes of this client are discarded";
    }
    oAnswer.m_oReply.m_uiSequence = a_oRequest.m_uiSequence;
    if (holdsAccess(a_oClient))
    {
        m_oLastUse = a_oNow;
    }
    return oAnswer;
}

void Service::carryOut(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow, Answer& a_oAnswer)
{
    if (a_oClient.m_bGreeted == (a_oRequest.m_eOperation == Operation::Hello))
    {
        throw Refusal(Result::BadRequest, "Hello must be the first request, and cannot be repeated");
    }
    switch (a_oRequest.m_eOperation)
    {
    case Operation::Hello:
        return greet(a_oClient, a_oRequest, a_oNow, a_oAnswer.m_oReply);
    case Operation::GetTables:
        return listTables(a_oAnswer.m_oReply);
    case Operation::GetColumns:
    case Operation::GetRowCount:
    case Operation::GetRow:
    case Operation::GetRowByKey:
    case Operation::GetRows:
    case Operation::GetDigest:
        return read(a_oClient, a_oRequest, a_oNow, a_oAnswer.m_oReply);
    case Operation::InsertRow:
    case Operation::UpdateKey:
    case Operation::DeleteRow:
    case Operation::DeleteKey:
        return write(a_oClient, a_oRequest);
    case Operation::GetAccess:
        return takeAccess(a_oClient, a_oNow);
    case Operation::DropAccess:
        return dropAccess(a_oClient);
    case Operation::Commit:
        a_oAnswer.m_oChanged = commit(a_oClient, a_oNow);
        return;
    }
    throw Refusal(Result::NotSupported, "unknown operation");
}

void Service::greet(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow, wire::Reply& a_oReply)
{
    checkVersion(a_oRequest);
    std::vector<bool> oWatched(getSchema().size());
    for (const std::string& strTable : a_oRequest.m_oNames)
    {
        oWatched[requireTable(strTable)] = true;
    }
    a_oClient.m_strName = platform::escape(a_oRequest.m_strTable, s_uiClientNameBytes);
    a_oClient.m_bNotifyOwnChanges = platform::isSet(a_oRequest.m_oValues, wire::g_acNotifyOwnChangesOption);
    a_oClient.m_bReadOnly = platform::isSet(a_oRequest.m_oValues, wire::g_acReadOnlyOption);
    a_oClient.m_oWatched = std::move(oWatched);
    a_oReply.m_oRows.push_back(platform::row({{wire::g_acServiceColumn, platform::text("cfgserver")},
                                              {wire::g_acVersionColumn, platform::text(QUORVAD_VERSION)},
                                              {wire::g_acDigestsColumn, platform::integer(1)}}));
    a_oClient.m_oConnected = a_oNow;
    a_oClient.m_oStarted = a_oNow - std::chrono::seconds(std::max(readAge(a_oRequest.m_oValues), 0));
    m_oActivity.enter(a_oClient);
    a_oClient.m_bGreeted = true;
}

void Service::read(const Client& a_oClient,
                   const wire::Request& a_oRequest,
                   Clock::time_point a_oNow,
                   wire::Reply& a_oReply) const
{
    const std::size_t uiTable = requireTable(a_oRequest.m_strTable);
    const TableSchema& oSchema = getSchema()[uiTable];
    const std::optional<Table> oComputed =
        oSchema.m_bComputed ? std::optional<Table>(m_oActivity.makeTable(oSchema, a_oNow)) : std::nullopt;
    const Table& oTable = oComputed ? *oComputed : viewTable(a_oClient, uiTable);
    if (a_oRequest.m_eOperation == Operation::GetColumns)
    {
        a_oReply.m_oRows.push_back(RowReader(oTable.getSchema(), {}).read(makeDefaults(oTable.getSchema())));
        return;
    }
    if (a_oRequest.m_eOperation == Operation::GetRowCount)
    {
        a_oReply.m_uiNumber = static_cast<std::uint32_t>(oTable.getRows().size());
        return;
    }
    if (a_oRequest.m_eOperation == Operation::GetDigest)
    {
        const std::string strDigest = std::to_string(oTable.getDigest());
        a_oReply.m_oRows.push_back(platform::row({{wire::g_acDigestColumn, platform::text(strDigest)}}));
        return;
    }
    const RowReader oReader(oTable.getSchema(), a_oRequest.m_oNames);
    if (a_oRequest.m_eOperation == Operation::GetRows)
    {
        oReader.readPage(oTable.getRows(), a_oRequest.m_uiNumber, a_oReply);
        return;
    }
    const Row& oRow = a_oRequest.m_eOperation == Operation::GetRow
                          ? oTable.getRow(a_oRequest.m_uiNumber)
                          : oTable.getRow(a_oRequest.m_strKeyColumn, a_oRequest.m_strKeyValue);
    a_oReply.m_oRows.push_back(oReader.read(oRow.m_oCells));
}

void Service::write(const Client& a_oClient, const wire::Request& a_oRequest)
{
    requireAccess(a_oClient);
    const std::size_t uiTable = requireTable(a_oRequest.m_strTable);
    if (getSchema()[uiTable].m_bComputed)
    {
        throw Refusal(Result::NotSupported, "the service itself makes table " + quoted(a_oRequest.m_strTable));
    }
    Table& oTable = m_oWrites->edit(uiTable);
    switch (a_oRequest.m_eOperation)
    {
    case Operation::InsertRow:
        return oTable.insert(a_oRequest.m_oValues);
    case Operation::UpdateKey:
        return oTable.update(a_oRequest.m_strKeyColumn, a_oRequest.m_strKeyValue, a_oRequest.m_oValues);
    case Operation::DeleteRow:
        return oTable.erase(a_oRequest.m_uiNumber);
    default: // DeleteKey
        return oTable.erase(a_oRequest.m_strKeyColumn, a_oRequest.m_strKeyValue);
    }
}

void Service::takeAccess(const Client& a_oClient, Clock::time_point a_oNow)
{
    if (a_oClient.m_bReadOnly)
    {
        throw Refusal(Result::NoAccess, "this client declared itself read-only");
    }
    if (m_pHolder != nullptr && !holdsAccess(a_oClient))
    {
        throw Refusal(Result::AccessTaken,
                      "client '" + m_pHolder->m_strName + "' is writing; try again when it has committed");
    }
    if (m_pHolder == nullptr)
    {
        m_oWrites.emplace(m_oStore);
        m_pHolder = &a_oClient;
        m_oTaken = a_oNow;
    }
}

void Service::releaseAccess()
{
    m_pHolder = nullptr;
    m_oWrites.reset();
}

void Service::requireAccess(const Client& a_oClient) const
{
    if (!holdsAccess(a_oClient))
    {
        throw Refusal(Result::NoAccess,
                      "no write access: request it first; it ends with a commit, after " +
                          std::to_string(toSeconds(m_oLimits.m_oIdle)) + " s without a request and after " +
                          std::to_string(toSeconds(m_oLimits.m_oTotal)) + " s in all");
    }
}

std::vector<std::size_t> Service::commit(Client& a_oClient, Clock::time_point a_oNow)
{
    requireAccess(a_oClient);
    // The access ends either way: after a failure the client starts again from what is committed.
    Transaction oWrites = std::move(*m_oWrites);
    releaseAccess();
    try
    {
        std::vector<std::size_t> oChanged = m_oStore.commit(oWrites);
        m_oActivity.noteCommit(a_oClient, oChanged, a_oNow);
        return oChanged;
    }
    catch (const Refusal& oRefusal)
    {
        LOG_ERROR("Commit of client '%s' failed: %s", a_oClient.m_strName.c_str(), oRefusal.what());
        throw;
    }
}

const Table& Service::viewTable(const Client& a_oClient, std::size_t a_uiTable) const
{
    return holdsAccess(a_oClient) ? m_oWrites->getTable(a_uiTable) : m_oStore.getTable(a_uiTable);
}

void Service::leave(const Client& a_oClient)
{
    dropAccess(a_oClient);
    m_oActivity.leave(a_oClient);
}

void Service::dropAccess(const Client& a_oClient)
{
    if (holdsAccess(a_oClient))
    {
        releaseAccess();
    }
}

void Service::expire(Clock::time_point a_oNow)
{
    if (a_oNow < getDeadline())
    {
        return;
    }
    const char* pName = m_pHolder->m_strName.c_str();
    if (a_oNow >= m_oLastUse + m_oLimits.m_oIdle)
    {
        LOG_WARNING("Client '%s' held write access for %lld s without a request: revoked, its "
                    "uncommitted writes are discarded",
                    pName,
                    toSeconds(m_oLimits.m_oIdle));
    }
    else
    {
        LOG_WARNING("Client '%s' held write access for %lld s without a commit: revoked, its "
                    "uncommitted writes are discarded",
                    pName,
                    toSeconds(m_oLimits.m_oTotal));
    }
    releaseAccess();
}

Clock::time_point Service::getDeadline() const
{
    return m_pHolder != nullptr ? std::min(m_oLastUse + m_oLimits.m_oIdle, m_oTaken + m_oLimits.m_oTotal)
                                : Clock::time_point::max();
}

} // namespace cfgserver
