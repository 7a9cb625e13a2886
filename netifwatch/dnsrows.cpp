#include "netifwatch/dnsrows.h"

#include "netifwatch/tablenames.h"

#include <algorithm>
#include <map>

namespace netifwatch
{

namespace
{

constexpr std::size_t s_uiGoneInterfaces = 8;

/// The rows of one interface.
struct Holding
{
    std::vector<OwnRow> m_oOwn; ///< in table order
    bool m_bOthers = false;
};
using Holdings = std::map<std::string, Holding>;

Holdings group(const Rows& a_oPresent, const OwnRows& a_oOwn)
{
    Holdings oHoldings;
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const OwnRow oDescription = describeRow(oRow);
        Holding& oHolding = oHoldings[oDescription.m_strInterface];
        if (a_oOwn.count(oDescription) > 0)
        {
            oHolding.m_oOwn.push_back(oDescription);
        }
        else
        {
            oHolding.m_bOthers = true;
        }
    }
    return oHoldings;
}

void remove(const std::vector<OwnRow>& a_oRows, std::size_t a_uiFrom, Operations& a_oOperations)
{
    for (std::size_t uiRow = a_uiFrom; uiRow < a_oRows.size(); ++uiRow)
    {
        const OwnRow& oRow = a_oRows[uiRow];
        a_oOperations.push_back({Operation::Kind::Delete, g_pDnsTable, oRow.m_strInterface, oRow.m_iId, {}});
    }
}

void align(const std::string& a_strName,
           const std::vector<std::string>& a_oServers,
           const std::vector<OwnRow>& a_oRows,
           Operations& a_oOperations)
{
    for (std::size_t uiServer = 0; uiServer < a_oServers.size(); ++uiServer)
    {
        korrin::ValueList oValues;
        oValues.add("IPAddress", korrin::Value(korrin::eValueText, a_oServers[uiServer]));
        if (uiServer >= a_oRows.size())
        {
            oValues.emplace_front("Interface", korrin::Value(korrin::eValueText, a_strName));
            oValues.emplace_front("Enable", korrin::Value(korrin::eValueInteger, 1));
            a_oOperations.push_back({Operation::Kind::Insert, g_pDnsTable, a_strName, 0, oValues});
        }
        else if (a_oRows[uiServer].m_strAddress != a_oServers[uiServer])
        {
            const int iId = a_oRows[uiServer].m_iId;
            a_oOperations.push_back({Operation::Kind::Update, g_pDnsTable, a_strName, iId, oValues});
        }
    }
    remove(a_oRows, a_oServers.size(), a_oOperations);
}

/// The names of all but the few gone interfaces whose rows are newest.
std::set<std::string> forgotten(const Holdings& a_oHoldings, const std::set<std::string>& a_oNames)
{
    std::vector<std::pair<int, std::string>> oGone;
    for (const auto& [strName, oHolding] : a_oHoldings)
    {
        if (a_oNames.count(strName) == 0 && !oHolding.m_oOwn.empty())
        {
            oGone.emplace_back(oHolding.m_oOwn.back().m_iId, strName);
        }
    }
    std::sort(oGone.rbegin(), oGone.rend());
    std::set<std::string> oForgotten;
    for (std::size_t uiName = s_uiGoneInterfaces; uiName < oGone.size(); ++uiName)
    {
        oForgotten.insert(oGone[uiName].second);
    }
    return oForgotten;
}

} // namespace

Operations planServers(const ServersByName& a_oServers,
                       const std::set<std::string>& a_oNames,
                       const Rows& a_oPresent,
                       const OwnRows& a_oOwn,
                       const InterfaceFilter& a_oFilter)
{
    Holdings oHoldings = group(a_oPresent, a_oOwn);
    const std::set<std::string> oForgotten = forgotten(oHoldings, a_oNames);
    for (const auto& [strName, oServers] : a_oServers)
    {
        oHoldings.try_emplace(strName);
    }
    Operations oOperations;
    for (const auto& [strName, oHolding] : oHoldings)
    {
        const auto it = a_oServers.find(strName);
        if (oHolding.m_bOthers || !a_oFilter.accepts(strName) || oForgotten.count(strName) > 0)
        {
            remove(oHolding.m_oOwn, 0, oOperations);
        }
        else if (it != a_oServers.end() && !it->second.empty())
        {
            align(strName, it->second, oHolding.m_oOwn, oOperations);
        }
    }
    return oOperations;
}

OwnRows selectOwn(const Rows& a_oPresent, const OwnRows& a_oOwn)
{
    OwnRows oFound;
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const OwnRow oDescription = describeRow(oRow);
        if (a_oOwn.count(oDescription) > 0)
        {
            oFound.insert(oDescription);
        }
    }
    return oFound;
}

} // namespace netifwatch
