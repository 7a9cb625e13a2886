#include "netifwatch/reconciler.h"

#include "netifwatch/dnsrows.h"
#include "netifwatch/statusrows.h"
#include "netifwatch/tablenames.h"
#include "platform/common/log.h"
#include "platform/wire/message.h"

#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace netifwatch
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "reconciler";

bool is(korrin::protocol::EResultCode a_oResult, wire::Result a_eResult)
{
    return a_oResult == static_cast<unsigned int>(a_eResult);
}

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

std::string describe(const Operation& a_oOperation)
{
    std::string strText = a_oOperation.m_strTable + ": " + a_oOperation.m_strName;
    if (a_oOperation.m_eKind == Operation::Kind::Delete)
    {
        return strText + " removed";
    }
    for (const auto& [strColumn, oValue] : a_oOperation.m_oValues)
    {
        if (strColumn != "Name" && strColumn != "Interface")
        {
            strText += " " + strColumn + "=" + oValue.getText();
        }
    }
    return strText;
}

} // namespace

Reconciler::Reconciler(IConfigClient& a_oClient, const InterfaceFilter& a_oFilter, std::string a_strOwnRows)
    : m_oClient(a_oClient), m_oFilter(a_oFilter), m_oOwnRows(std::move(a_strOwnRows)),
      m_iModuleId(VADRO_Sysloglevel_registerModul("netifwatch"))
{
}

Reconciler::Outcome Reconciler::reconcile(const MachineState& a_oState)
{
    m_strFailure.clear();
    try
    {
        return makePlan(a_oState).isEmpty() ? Outcome::Unchanged : write(a_oState, true);
    }
    catch (const std::exception& oError)
    {
        m_strFailure = oError.what();
    }
    // DNSClientServer needs the disk; when that is full, the interfaces must not stay untold.
    try
    {
        if (a_oState.m_oServers)
        {
            static_cast<void>(write(a_oState, false));
        }
    }
    catch (const std::exception&)
    {
        // the first failure is the one to tell
    }
    return Outcome::Failed;
}

Rows Reconciler::read(const char* a_pTable)
{
    Rows oRows;
    if (m_oClient.getrows(a_pTable, oRows) != 0)
    {
        fail(m_oClient, std::string("Can't read table ") + a_pTable);
    }
    return oRows;
}

Reconciler::Plan Reconciler::makePlan(const MachineState& a_oState)
{
    Plan oPlan;
    const Interfaces& oInterfaces = a_oState.m_oInterfaces;
    oPlan.m_oStatus = compareByName(g_pIPv4Table, makeIPv4Rows(oInterfaces, m_oFilter), read(g_pIPv4Table), m_oFilter);
    const Rows oPresent = read(g_pIPv6Table);
    Operations oIPv6 = compareByName(g_pIPv6Table, makeIPv6Rows(oInterfaces, m_oFilter, oPresent), oPresent, m_oFilter);
    std::move(oIPv6.begin(), oIPv6.end(), std::back_inserter(oPlan.m_oStatus));
    if (a_oState.m_oServers)
    {
        planDns(a_oState, oPlan);
    }
    return oPlan;
}

void Reconciler::planDns(const MachineState& a_oState, Plan& a_oPlan)
{
    const Rows oPresent = read(g_pDnsTable);
    a_oPlan.m_oOwn = selectOwn(oPresent, m_oOwnRows.load());
    a_oPlan.m_oServers =
        planServers(*a_oState.m_oServers, namesOf(a_oState.m_oInterfaces), oPresent, a_oPlan.m_oOwn, m_oFilter);
    reportOthers(*a_oState.m_oServers, oPresent, a_oPlan.m_oOwn);
}

void Reconciler::reportOthers(const ServersByName& a_oServers, const Rows& a_oPresent, const OwnRows& a_oOwn)
{
    std::set<std::string> oOthers;
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const OwnRow oDescription = describeRow(oRow);
        if (a_oOwn.count(oDescription) == 0 && a_oServers.count(oDescription.m_strInterface) > 0)
        {
            oOthers.insert(oDescription.m_strInterface);
        }
    }
    for (const std::string& strName : oOthers)
    {
        if (m_oOthers.count(strName) == 0)
        {
            LOG_INFO("The DNS servers of %s are left to whoever wrote rows for it.", strName.c_str());
        }
    }
    m_oOthers = std::move(oOthers);
}

Reconciler::Outcome Reconciler::write(const MachineState& a_oState, bool a_bServers)
{
    if (!obtainAccess())
    {
        return Outcome::Busy;
    }
    const AccessScope oScope(m_oClient);
    // Between the look and the access somebody else may have written.
    MachineState oState = a_oState;
    if (!a_bServers)
    {
        oState.m_oServers.reset();
    }
    const Plan oPlan = makePlan(oState);
    if (oPlan.isEmpty())
    {
        return Outcome::Unchanged;
    }
    apply(oPlan.m_oStatus);
    if (!oPlan.m_oServers.empty())
    {
        apply(oPlan.m_oServers);
        noteOwnRows(oPlan);
    }
    commit();
    return Outcome::Written;
}

bool Reconciler::obtainAccess()
{
    const korrin::protocol::EResultCode oResult = m_oClient.getdbaccess();
    if (oResult == 0)
    {
        return true;
    }
    if (!is(oResult, wire::Result::AccessTaken))
    {
        fail(m_oClient, "Can't get write access");
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
            oResult = m_oClient.updatekey(oOperation.m_strTable, "Id", strId, oOperation.m_oValues);
            break;
        case Operation::Kind::Delete:
            oResult = m_oClient.deletekey(oOperation.m_strTable, "Id", strId);
            break;
        }
        if (oResult != 0)
        {
            fail(m_oClient, "Can't write " + describe(oOperation));
        }
        LOG_INFO("%s", describe(oOperation).c_str());
    }
}

/// Before the commit: a row that is in the table and not in the file would be a stranger's for ever. The rows as they
/// were stay noted as well, since the commit may fail or never come.
void Reconciler::noteOwnRows(const Plan& a_oPlan)
{
    OwnRows oNoted = a_oPlan.m_oOwn;
    std::set<int> oOldIds;
    for (const OwnRow& oRow : a_oPlan.m_oOwn)
    {
        oOldIds.insert(oRow.m_iId);
    }
    std::size_t uiInserted = 0;
    for (const Operation& oOperation : a_oPlan.m_oServers)
    {
        uiInserted += oOperation.m_eKind == Operation::Kind::Insert ? 1 : 0;
    }
    // A writer reads what it wrote; inserted rows stand at the end.
    const Rows oPresent = read(g_pDnsTable);
    std::size_t uiLeft = oPresent.size();
    for (const korrin::ValueList& oRow : oPresent)
    {
        const OwnRow oDescription = describeRow(oRow);
        if (uiLeft-- <= uiInserted || oOldIds.count(oDescription.m_iId) > 0)
        {
            oNoted.insert(oDescription);
        }
    }
    m_oOwnRows.save(oNoted);
}

void Reconciler::commit()
{
    if (m_oClient.commit() != 0)
    {
        fail(m_oClient, "Can't commit");
    }
}

} // namespace netifwatch
