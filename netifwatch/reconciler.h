#pragma once

#include "netifwatch/earliernotes.h"
#include "netifwatch/machine.h"
#include "netifwatch/tableplan.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <set>
#include <string>
#include <vector>

namespace netifwatch
{

/// Brings the service's tables into line with the state of the machine: reads them and writes the differences in one
/// transaction. Borrows client and filter. One thread; a call blocks for as long as the service takes for
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
               const std::vector<std::string>& a_oEarlierNotes);

    [[nodiscard]] Outcome reconcile(const MachineState& a_oState);
    /// Why the last call failed, or who holds write access: a sentence with the next step where there is one.
    [[nodiscard]] const std::string& getFailure() const { return m_strFailure; }

private:
    [[nodiscard]] Rows read(const char* a_pTable);
    [[nodiscard]] Operations makePlan(const MachineState& a_oState);
    void planDns(const MachineState& a_oState, Operations& a_oPlan);
    [[nodiscard]] bool knowsOrigin();
    void reportOthers(const ServersByName& a_oServers, const Rows& a_oPresent);
    [[nodiscard]] Outcome write(const MachineState& a_oState);
    [[nodiscard]] bool obtainAccess();
    void apply(const Operations& a_oOperations);

    vadro::cfg::common::IConfigClient& m_oClient;
    const InterfaceFilter& m_oFilter;
    EarlierNotes m_oEarlierNotes;
    bool m_bOrigin = true;           // the table has that column, as last seen
    std::set<std::string> m_oOthers; // interfaces whose servers somebody else sets, as last reported
    std::string m_strFailure;
    std::uint32_t m_iModuleId;
};

} // namespace netifwatch
