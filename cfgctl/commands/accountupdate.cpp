#include "cfgctl/account/activity.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/account/resend.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/text.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace cfgctl
{

namespace
{

/// The accounts that a request concerns.
struct Requested
{
    Rows m_oSent; ///< by the daemon, after the start period
    Rows m_oHeld; ///< enabled, but something keeps the update from going out
};

Requested findRequested(const StatusSources& a_oSources)
{
    Requested oRequested;
    for (const korrin::ValueList& oRow : a_oSources.m_oAccounts)
    {
        if (isSet(oRow, dbm::Enable))
        {
            const bool bHeld = isStopped(findProblems(oRow, a_oSources));
            (bHeld ? oRequested.m_oHeld : oRequested.m_oSent).push_back(oRow);
        }
    }
    return oRequested;
}

/// Marks all enabled rows as different, in one transaction: whatever happens, all are marked or none is.
void writeRequests(Database& a_oDatabase, Database::Milliseconds a_oTimeout)
{
    a_oDatabase.beginWrite(a_oTimeout);
    for (const korrin::ValueList& oRow : a_oDatabase.getRows(dbm::Table_DynDns))
    {
        if (isSet(oRow, dbm::Enable))
        {
            const int iRequests = oRow.getValue(dbm::DynDns_UpdateRequests).getInteger();
            const int iNext = iRequests == std::numeric_limits<int>::max() ? 1 : iRequests + 1;
            a_oDatabase.updateRow(dbm::Table_DynDns,
                                  textOf(oRow, dbm::Id),
                                  platform::row({{dbm::DynDns_UpdateRequests, platform::integer(iNext)}}));
        }
    }
    a_oDatabase.commit();
}

std::string toJson(const Requested& a_oRequested)
{
    const auto ids = [](const Rows& a_oRows)
    {
        nlohmann::ordered_json oIds = nlohmann::ordered_json::array();
        for (const korrin::ValueList& oRow : a_oRows)
        {
            oIds.push_back(oRow.getValue(dbm::Id).getInteger());
        }
        return oIds;
    };
    const nlohmann::ordered_json oJson{{"Sent", ids(a_oRequested.m_oSent)},
                                       {"Held", ids(a_oRequested.m_oHeld)},
                                       {"EarliestSeconds", g_iEarliestTrySec},
                                       {"LatestSeconds", g_iLatestTrySec}};
    return oJson.dump() + "\n";
}

std::string describe(const Requested& a_oRequested)
{
    const std::string strHeld = join(a_oRequested.m_oHeld, ", ", showAccount);
    if (a_oRequested.m_oSent.empty() && strHeld.empty())
    {
        return "No account is enabled: nothing is sent.";
    }
    const std::size_t uiSent = a_oRequested.m_oSent.size();
    return std::to_string(uiSent) + (uiSent == 1 ? " account is" : " accounts are") + " sent " + describeFirstTry() +
           (strHeld.empty() ? "" : "; held: " + strHeld + ", see 'cfgctl account test'") + ".";
}

} // namespace

std::string runAccountUpdate(Database& a_oDatabase, const Options& a_oOptions)
{
    writeRequests(a_oDatabase, a_oOptions.m_oAccessTimeout);
    const StatusSources oSources = readSources(a_oDatabase);
    const Requested oRequested = findRequested(oSources);
    const bool bNone = oRequested.m_oSent.empty() && oRequested.m_oHeld.empty();
    require(bNone || isConnected(oSources, g_pDaemon).value_or(true),
            "No daemon is connected to the service, so nothing is sent before quorvad runs");
    require(bNone || !oRequested.m_oSent.empty(),
            "Nothing is sent: see 'cfgctl account test' for " + join(oRequested.m_oHeld, ", ", nameAccount));
    return a_oOptions.m_bJson ? toJson(oRequested) : joinLines({describe(oRequested)}, a_oOptions.m_oLayout);
}

} // namespace cfgctl
