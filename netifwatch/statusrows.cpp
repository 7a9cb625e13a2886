#include "netifwatch/statusrows.h"

#include "netifwatch/addresschoice.h"

#include <map>

namespace netifwatch
{

namespace
{

korrin::Value text(const std::string& a_strText)
{
    return {korrin::eValueText, a_strText};
}

std::string nameOf(const korrin::ValueList& a_oRow)
{
    return a_oRow.getValue("Name").getText();
}

/// There may be thousands of interfaces.
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

} // namespace

Rows makeIPv4Rows(const Interfaces& a_oInterfaces, const InterfaceFilter& a_oFilter)
{
    Rows oRows;
    for (const Interface& oInterface : a_oInterfaces)
    {
        if (a_oFilter.accepts(oInterface.m_strName))
        {
            korrin::ValueList oRow;
            oRow.add("Name", text(oInterface.m_strName));
            oRow.add("Addr", text(chooseIPv4(oInterface)));
            oRow.add("IsUp", korrin::Value(korrin::eValueInteger, oInterface.m_bUp ? 1 : 0));
            oRows.push_back(std::move(oRow));
        }
    }
    return oRows;
}

Rows makeIPv6Rows(const Interfaces& a_oInterfaces, const InterfaceFilter& a_oFilter, const Rows& a_oPresent)
{
    const RowsByName oPresent = indexByName(a_oPresent);
    Rows oRows;
    for (const Interface& oInterface : a_oInterfaces)
    {
        if (!a_oFilter.accepts(oInterface.m_strName))
        {
            continue;
        }
        const auto it = oPresent.find(oInterface.m_strName);
        const std::string strPresent = it != oPresent.end() ? it->second->getValue("Addr").getText() : "";
        const std::string strAddress = chooseIPv6(oInterface, strPresent);
        if (!strAddress.empty())
        {
            korrin::ValueList oRow;
            oRow.add("Name", text(oInterface.m_strName));
            oRow.add("Addr", text(strAddress));
            oRows.push_back(std::move(oRow));
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
        const int iId = oRow.getValue("Id").getInteger();
        if (!a_oFilter.accepts(strName))
        {
            continue;
        }
        const auto it = oMissing.find(strName);
        if (it == oMissing.end())
        {
            oOperations.push_back({Operation::Kind::Delete, a_strTable, strName, iId, {}});
            continue;
        }
        const korrin::ValueList oChanges = changesOf(*it->second, oRow);
        oMissing.erase(it);
        if (!oChanges.empty())
        {
            oOperations.push_back({Operation::Kind::Update, a_strTable, strName, iId, oChanges});
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

} // namespace netifwatch
