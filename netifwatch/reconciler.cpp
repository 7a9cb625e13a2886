#include "netifwatch/reconciler.h"

#include "platform/common/log.h"
#include "platform/common/values.h"
#include "platform/wire/message.h"

#include <iterator>
#include <stdexcept>
#include <utility>

namespace netifwatch
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "reconciler";

[[noreturn]] void fail(IConfigClient& a_oClient, const std::string& a_strWhat)
{
    std::string strReason;
    a_oClient.getlasterror(strReason);
    throw std::runtime_error(a_strWhat + ": " + (strReason.empty() ? "the service gave no reason" : strReason));
}

/// An unfinished transaction must not stay behind: it would keep everybody else from writing.
class AccessScope
{
public:
    explicit AccessScope(IConfigClient& a_oClient) : m_oClient(a_oClient) {}
    ~AccessScope()
    {
        if (m_oClient.hasdbaccess())
        {
            m_oClient.dropdbaccess();
        }
    }
    AccessScope(const AccessScope&) = delete;
    AccessScope& operator=(const AccessScope&) = delete;

private:
    IConfigClient& m_oClient;
};

std::set<std::string> namesOf(const Interfaces& a_oInterfaces)
{
    std::set<std::string> oNames;
    for (const Interface& oInterface : a_oInterfaces)
    {
        oNames.insert(oInterface.m_strName);
    }
    return oNames;
}

void append(Operations& a_oOperations, Operations&& a_oMore)
{
    std::move(a_oMore.begin(), a_oMore.end(), std::back_inserter(a_oOperations));
}

std::string describe(const Operation& a_oOperation)
{
    std::string strText = a_oOperation.m_strTable + ": " + a_oOperation.m_strName;
    if (a_oOperation.m_eKind == Operation::Kind::Delete)
    {
        return strText + " removed";
    }
    for (const auto& [strColumn, oValue] : a_oOperation.m_oValues)
    {
        if (strColumn != dbm::Name && strColumn != dbm::Interface)
        {
            strText += " " + strColumn + "=" + oValue.getText();
        }
    }
    return strText;
}

} // namespace

Reconciler::Reconciler(IConfigClient& a_oClient,
                       const InterfaceFilter& a_oFilter,
                       const std::vector<std::string>& a_oEarlierNotes)
    : m_oClient(a_oClient), m_oFilter(a_oFilter), m_oEarlierNotes(a_oEarlierNotes),
      m_iModuleId(VADRO_Sysloglevel_registerModul("netifwatch"))
{
}

Reconciler::Outcome Reconciler::reconcile(const MachineState& a_oState)
{
    m_strFailure.clear();
    try
    {
        const Outcome eOutcome = makePlan(a_oState).empty() ? Outcome::Unchanged : write(a_oState);
        if (eOutcome != Outcome::Busy)
        {
            m_oEarlierNotes.discard();
        }
        return eOutcome;
    }
    catch (const std::exception& oError)
    {
        m_strFailure = oError.what();
    }
    // DNSClientServer needs the disk; the states of interfaces must be written even when it is full.
    try
    {
        if (a_oState.m_oServers)
        {
            static_cast<void>(write({a_oState.m_oInterfaces, std::nullopt}));
        }
    }
    catch (const std::exception&)
    {
        // the first failure is the one to report
    }
    return Outcome::Failed;
}

Rows Reconciler::read(const char* a_pTable)
{
    Rows oRows;
    if (m_oClient.getrows(a_pTable, oRows) != 0)
    {
        fail(m_oClient, std::string("Cannot read table ") + a_pTable);
    }
    return oRows;
}

Operations Reconciler::makePlan(const MachineState& a_oState)
{
    const Interfaces& oInterfaces = a_oState.m_oInterfaces;
    Operations oPlan = compareByName(
        dbm::Table_StatusNetifWatch, makeIPv4Rows(oInterfaces), read(dbm::Table_StatusNetifWatch), m_oFilter);
    const Rows oPresent = read(dbm::Table_StatusNetIfIPv6Addresses);
    append(
        oPlan,
        compareByName(dbm::Table_StatusNetIfIPv6Addresses, makeIPv6Rows(oInterfaces, oPresent), oPresent, m_oFilter));
    if (a_oState.m_oServers && knowsOrigin())
    {
        planDns(a_oState, oPlan);
    }
    return oPlan;
}

void Reconciler::planDns(const MachineState& a_oState, Operations& a_oPlan)
{
    Rows oPresent = read(dbm::Table_DNSClientServer);
    append(a_oPlan, m_oEarlierNotes.claim(oPresent));
    append(a_oPlan, planServers(*a_oState.m_oServers, namesOf(a_oState.m_oInterfaces), oPresent, m_oFilter));
    reportOthers(*a_oState.m_oServers, oPresent);
}

/// Without the column nobody could tell whose rows they are.
bool Reconciler::knowsOrigin()
{
    korrin::ValueList oColumns;
    if (m_oClient.getcolumns(dbm::Table_DNSClientServer, oColumns) != 0)
    {
        fail(m_oClient, std::string("Cannot read the columns of table ") + dbm::Table_DNSClientServer);
    }
    const bool bBefore = std::exchange(m_bOrigin, oColumns.hasValue(dbm::DNSClientServer_Origin));
    if (bBefore && !m_bOrigin)
    {
        LOG_WARNING("Table DNSClientServer has no column Origin; DNS servers are not written. Update the configuration "
                    "service, or use --no-dns.");
    }
    return m_bOrigin;
}

void Reconciler::reportOthers(const ServersByName& a_oServers, const Rows& a_oPresent)
{
    std::set<std::string> oOthers;
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const std::string strName = platform::textOf(oRow, dbm::Interface);
        if (!isOwn(oRow) && a_oServers.count(strName) > 0)
        {
            oOthers.insert(strName);
        }
    }
    for (const std::string& strName : oOthers)
    {
        if (m_oOthers.count(strName) == 0)
        {
            LOG_INFO("Somebody else wrote DNS servers for %s; leaving them alone.", strName.c_str());
        }
    }
    m_oOthers = std::move(oOthers);
}

Reconciler::Outcome Reconciler::write(const MachineState& a_oState)
{
    if (!obtainAccess())
    {
        return Outcome::Busy;
    }
    const AccessScope oAccess(m_oClient);
    // Somebody else may have written in between.
    const Operations oPlan = makePlan(a_oState);
    if (oPlan.empty())
    {
        return Outcome::Unchanged;
    }
    apply(oPlan);
    if (m_oClient.commit() != 0)
    {
        fail(m_oClient, "Cannot commit");
    }
    return Outcome::Written;
}

bool Reconciler::obtainAccess()
{
    const korrin::protocol::EResultCode oResult = m_oClient.getdbaccess();
    if (oResult == 0)
    {
        return true;
    }
    if (oResult != static_cast<unsigned int>(wire::Result::AccessTaken))
    {
        fail(m_oClient, "Cannot get write access");
    }
    m_oClient.getlasterror(m_strFailure);
    return false;
}

void Reconciler::apply(const Operations& a_oOperations)
{
    for (const Operation& oOperation : a_oOperations)
    {
        const std::string strId = std::to_string(oOperation.m_iId);
        korrin::protocol::EResultCode oResult;
        switch (oOperation.m_eKind)
        {
        case Operation::Kind::Insert:
            oResult = m_oClient.insertrow(oOperation.m_strTable, oOperation.m_oValues);
            break;
        case Operation::Kind::Update:
            oResult = m_oClient.updatekey(oOperation.m_strTable, dbm::Id, strId, oOperation.m_oValues);
            break;
        case Operation::Kind::Delete:
            oResult = m_oClient.deletekey(oOperation.m_strTable, dbm::Id, strId);
            break;
        }
        if (oResult != 0)
        {
            fail(m_oClient, "Cannot write " + describe(oOperation));
        }
        LOG_INFO("%s", describe(oOperation).c_str());
    }
}

} // namespace netifwatch
