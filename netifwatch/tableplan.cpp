#include "netifwatch/tableplan.h"

#include "platform/common/values.h"

#include <algorithm>
#include <map>

namespace netifwatch
{

using platform::integer;
using platform::row;
using platform::text;
using platform::textOf;

namespace
{

constexpr std::size_t s_uiGoneInterfaces = 8;

std::string nameOf(const korrin::ValueList& a_oRow)
{
    return textOf(a_oRow, dbm::Name);
}

/// Indexed, since there may be thousands of interfaces.
using RowsByName = std::map<std::string, const korrin::ValueList*>;

RowsByName indexByName(const Rows& a_oRows)
{
    RowsByName oIndex;
    for (const korrin::ValueList& oRow : a_oRows)
    {
        oIndex.emplace(nameOf(oRow), &oRow);
    }
    return oIndex;
}

/// The wanted columns whose present value is another.
korrin::ValueList changesOf(const korrin::ValueList& a_oWanted, const korrin::ValueList& a_oPresent)
{
    korrin::ValueList oChanges;
    for (const auto& [strColumn, oValue] : a_oWanted)
    {
        if (a_oPresent.getValue(strColumn) != oValue)
        {
            oChanges.add(strColumn, oValue);
        }
    }
    return oChanges;
}

int idOf(const korrin::ValueList& a_oRow)
{
    return a_oRow.getValue(dbm::Id).getInteger();
}

/// The rows of DNSClientServer of one interface.
struct Holding
{
    std::vector<const korrin::ValueList*> m_oOwn; ///< in table order
    bool m_bOthers = false;
};
using Holdings = std::map<std::string, Holding>;

Holdings group(const Rows& a_oPresent, const InterfaceFilter& a_oFilter)
{
    Holdings oHoldings;
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const std::string strName = textOf(oRow, dbm::Interface);
        if (!a_oFilter.accepts(strName))
        {
            continue; // another watcher's, for all that is known
        }
        Holding& oHolding = oHoldings[strName];
        if (isOwn(oRow))
        {
            oHolding.m_oOwn.push_back(&oRow);
        }
        else
        {
            oHolding.m_bOthers = true;
        }
    }
    return oHoldings;
}

Operation onServer(Operation::Kind a_eKind, const std::string& a_strName, int a_iId, korrin::ValueList a_oValues = {})
{
    return {a_eKind, dbm::Table_DNSClientServer, a_strName, a_iId, std::move(a_oValues)};
}

/// Deletes the own rows from a position on.
void remove(const std::string& a_strName, const Holding& a_oHolding, std::size_t a_uiFrom, Operations& a_oOperations)
{
    for (std::size_t uiRow = a_uiFrom; uiRow < a_oHolding.m_oOwn.size(); ++uiRow)
    {
        a_oOperations.push_back(onServer(Operation::Kind::Delete, a_strName, idOf(*a_oHolding.m_oOwn[uiRow])));
    }
}

korrin::ValueList makeServerRow(const std::string& a_strName, const std::string& a_strAddress)
{
    return row({{dbm::Enable, integer(1)},
                {dbm::Interface, text(a_strName)},
                {dbm::DNSClientServer_IPAddress, text(a_strAddress)},
                {dbm::DNSClientServer_Origin, text(dbm::Origin_Watcher)}});
}

void align(const std::string& a_strName,
           const std::vector<std::string>& a_oServers,
           const Holding& a_oHolding,
           Operations& a_oOperations)
{
    for (std::size_t uiServer = 0; uiServer < a_oServers.size(); ++uiServer)
    {
        const std::string& strAddress = a_oServers[uiServer];
        if (uiServer >= a_oHolding.m_oOwn.size())
        {
            a_oOperations.push_back(
                onServer(Operation::Kind::Insert, a_strName, 0, makeServerRow(a_strName, strAddress)));
            continue;
        }
        const korrin::ValueList& oRow = *a_oHolding.m_oOwn[uiServer];
        if (textOf(oRow, dbm::DNSClientServer_IPAddress) != strAddress)
        {
            a_oOperations.push_back(onServer(Operation::Kind::Update,
                                             a_strName,
                                             idOf(oRow),
                                             row({{dbm::DNSClientServer_IPAddress, text(strAddress)}})));
        }
    }
    remove(a_strName, a_oHolding, a_oServers.size(), a_oOperations);
}

/// The names of all but the few gone interfaces whose rows are newest.
std::set<std::string> forgotten(const Holdings& a_oHoldings, const std::set<std::string>& a_oNames)
{
    std::vector<std::pair<int, std::string>> oGone;
    for (const auto& [strName, oHolding] : a_oHoldings)
    {
        if (a_oNames.count(strName) == 0 && !oHolding.m_oOwn.empty())
        {
            oGone.emplace_back(idOf(*oHolding.m_oOwn.back()), strName);
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

Rows makeIPv4Rows(const Interfaces& a_oInterfaces)
{
    Rows oRows;
    for (const Interface& oInterface : a_oInterfaces)
    {
        oRows.push_back(row({{dbm::Name, text(oInterface.m_strName)},
                             {dbm::Addr, text(chooseIPv4(oInterface))},
                             {dbm::IsUp, integer(oInterface.m_bUp ? 1 : 0)}}));
    }
    return oRows;
}

Rows makeIPv6Rows(const Interfaces& a_oInterfaces, const Rows& a_oPresent)
{
    const RowsByName oPresent = indexByName(a_oPresent);
    Rows oRows;
    for (const Interface& oInterface : a_oInterfaces)
    {
        const auto it = oPresent.find(oInterface.m_strName);
        const std::string strPresent = it != oPresent.end() ? textOf(*it->second, dbm::Addr) : "";
        const std::string strAddress = chooseIPv6(oInterface, strPresent);
        if (!strAddress.empty())
        {
            oRows.push_back(row({{dbm::Name, text(oInterface.m_strName)}, {dbm::Addr, text(strAddress)}}));
        }
    }
    return oRows;
}

Operations compareByName(const std::string& a_strTable,
                         const Rows& a_oWanted,
                         const Rows& a_oPresent,
                         const InterfaceFilter& a_oFilter)
{
    Operations oOperations;
    RowsByName oMissing = indexByName(a_oWanted);
    for (const korrin::ValueList& oRow : a_oPresent)
    {
        const std::string strName = nameOf(oRow);
        if (!a_oFilter.accepts(strName))
        {
            continue;
        }
        const auto it = oMissing.find(strName);
        if (it == oMissing.end())
        {
            oOperations.push_back({Operation::Kind::Delete, a_strTable, strName, idOf(oRow), {}});
            continue;
        }
        const korrin::ValueList oChanges = changesOf(*it->second, oRow);
        oMissing.erase(it);
        if (!oChanges.empty())
        {
            oOperations.push_back({Operation::Kind::Update, a_strTable, strName, idOf(oRow), oChanges});
        }
    }
    for (const korrin::ValueList& oRow : a_oWanted)
    {
        if (oMissing.count(nameOf(oRow)) > 0)
        {
            oOperations.push_back({Operation::Kind::Insert, a_strTable, nameOf(oRow), 0, oRow});
        }
    }
    return oOperations;
}

bool isOwn(const korrin::ValueList& a_oServerRow)
{
    return textOf(a_oServerRow, dbm::DNSClientServer_Origin) == dbm::Origin_Watcher;
}

Operations planServers(const ServersByName& a_oServers,
                       const std::set<std::string>& a_oNames,
                       const Rows& a_oPresent,
                       const InterfaceFilter& a_oFilter)
{
    Holdings oHoldings = group(a_oPresent, a_oFilter);
    const std::set<std::string> oForgotten = forgotten(oHoldings, a_oNames);
    for (const auto& [strName, oServers] : a_oServers)
    {
        oHoldings.try_emplace(strName);
    }
    Operations oOperations;
    for (const auto& [strName, oHolding] : oHoldings)
    {
        const auto it = a_oServers.find(strName);
        if (oHolding.m_bOthers || oForgotten.count(strName) > 0)
        {
            remove(strName, oHolding, 0, oOperations);
        }
        else if (it != a_oServers.end() && !it->second.empty())
        {
            align(strName, it->second, oHolding, oOperations);
        }
    }
    return oOperations;
}

} // namespace netifwatch
