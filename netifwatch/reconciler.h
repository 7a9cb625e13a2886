#pragma once

#include "netifwatch/dnsserver.h"
#include "netifwatch/interface.h"
#include "netifwatch/interfacefilter.h"
#include "netifwatch/operation.h"
#include "netifwatch/ownrows.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <optional>
#include <set>
#include <string>

namespace netifwatch
{

/// What the tables should tell.
struct MachineState
{
    Interfaces m_oInterfaces;
    std::optional<ServersByName> m_oServers; ///< nothing: DNSClientServer is not this program's affair

    bool operator==(const MachineState& a_oOther) const
    {
        return m_oInterfaces == a_oOther.m_oInterfaces && m_oServers == a_oOther.m_oServers;
    }
};

/// Brings the service's tables into line with the state of the machine: reads them, and where they differ, writes just
/// that, in one transaction. Borrows client and filter. One thread; a call blocks for as long as the service takes for
/// a few exchanges, but never waits for write access.
class Reconciler
{
public:
    enum class Outcome
    {
        Unchanged, ///< everything was right already
        Written,
        Busy,  ///< somebody else holds write access: try again soon
        Failed ///< wholly or, with only DNSClientServer refused, in part; getFailure() says why
    };

    Reconciler(vadro::cfg::common::IConfigClient& a_oClient,
               const InterfaceFilter& a_oFilter,
               std::string a_strOwnRows);

    [[nodiscard]] Outcome reconcile(const MachineState& a_oState);
    /// Why the last call failed, or who holds write access: a sentence with the next step where there is one.
    [[nodiscard]] const std::string& getFailure() const { return m_strFailure; }

private:
    struct Plan
    {
        Operations m_oStatus;
        Operations m_oServers;
        OwnRows m_oOwn; ///< that are in the table before

        [[nodiscard]] bool isEmpty() const { return m_oStatus.empty() && m_oServers.empty(); }
    };

    [[nodiscard]] Rows read(const char* a_pTable);
    [[nodiscard]] Plan makePlan(const MachineState& a_oState);
    void planDns(const MachineState& a_oState, Plan& a_oPlan);
    void reportOthers(const ServersByName& a_oServers, const Rows& a_oPresent, const OwnRows& a_oOwn);
    [[nodiscard]] Outcome write(const MachineState& a_oState, bool a_bServers);
    [[nodiscard]] bool obtainAccess();
    void apply(const Operations& a_oOperations);
    void noteOwnRows(const Plan& a_oPlan);
    void commit();

    vadro::cfg::common::IConfigClient& m_oClient;
    const InterfaceFilter& m_oFilter;
    OwnRowsFile m_oOwnRows;
    std::set<std::string> m_oOthers; // interfaces whose servers somebody else sets, as last reported
    std::string m_strFailure;
    std::uint32_t m_iModuleId;
};

} // namespace netifwatch
