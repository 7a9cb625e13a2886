#pragma once

#include "vadro/cfg/common/iconfigclient.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <vector>

/// A row from "Name=value Name=value ..."; digits make an integer, everything else a text.
inline korrin::ValueList makeRow(const std::string& a_strCells)
{
    korrin::ValueList oRow;
    std::istringstream oStream(a_strCells);
    for (std::string strName, strValue; std::getline(oStream >> std::ws, strName, '=');)
    {
        std::getline(oStream, strValue, ' ');
        const bool bInteger = !strValue.empty() && strValue.find_first_not_of("0123456789") == std::string::npos;
        oRow.add(strName, korrin::Value(bInteger ? korrin::eValueInteger : korrin::eValueText, strValue));
    }
    return oRow;
}

/// Tables in memory. Every call is recorded as text; a call whose text is in m_oRefused fails.
class MemoryClient : public vadro::cfg::common::IConfigClient
{
public:
    using Text = const std::string&;
    using Row = korrin::ValueList;
    using Result = korrin::protocol::EResultCode;

    std::map<std::string, std::vector<Row>> m_oTables;
    std::set<std::string> m_oRefused;
    std::vector<std::string> m_oCalls;
    bool m_bAccess = false;
    int m_iRefusedRequests = 0; ///< how many requests for write access fail

    Result getrowcount(Text a_strTable, unsigned int& a_uiCount) override
    {
        const Result eResult = note("getrowcount " + a_strTable);
        a_uiCount = eResult == 0 ? static_cast<unsigned int>(m_oTables[a_strTable].size()) : a_uiCount;
        return eResult;
    }
    Result getrow(Text a_strTable, unsigned int a_uiIndex, korrin::NameList&, Row& a_oValues) override
    {
        const auto& oRows = m_oTables[a_strTable];
        const Result eResult = note("getrow " + a_strTable + " " + std::to_string(a_uiIndex), a_uiIndex < oRows.size());
        a_oValues = eResult == 0 ? oRows[a_uiIndex] : a_oValues;
        return eResult;
    }
    Result
    getrowbykey(Text a_strTable, Text a_strColumn, Text a_strKey, korrin::NameList& a_oColumns, Row& a_oValues) override
    {
        const Row* pRow = find(a_strTable, a_strColumn, a_strKey);
        const Result eResult = note("getrowbykey " + a_strTable + " " + a_strKey, pRow != nullptr);
        a_oValues = eResult == 0 ? *pRow : a_oValues;
        a_oValues.remove_if(
            [&](const auto& a_oPair)
            { return !a_oColumns.empty() && std::count(a_oColumns.begin(), a_oColumns.end(), a_oPair.first) == 0; });
        return eResult;
    }
    Result insertrow(Text a_strTable, Row a_oValues) override
    {
        const Result eResult = note("insertrow " + a_strTable + " " + a_oValues.getValue("DynDnsId").getText());
        m_oTables[a_strTable].insert(m_oTables[a_strTable].end(), eResult == 0 ? 1 : 0, a_oValues);
        return eResult;
    }
    Result updatekey(Text a_strTable, Text a_strColumn, Text a_strKey, Row a_oValues) override
    {
        Row* pRow = find(a_strTable, a_strColumn, a_strKey);
        const Result eResult =
            note("updatekey " + a_strTable + " " + a_strKey, pRow != nullptr && !a_oValues.hasValue(a_strColumn));
        Row oNone;
        for (auto& [strName, oValue] : eResult == 0 ? *pRow : oNone)
        {
            oValue = a_oValues.hasValue(strName) ? a_oValues.getValue(strName) : oValue;
        }
        return eResult;
    }
    Result deleterow(Text a_strTable, unsigned int a_uiIndex) override
    {
        auto& oRows = m_oTables[a_strTable];
        const Result eResult = note("deleterow " + a_strTable, a_uiIndex < oRows.size());
        oRows.erase(oRows.begin() + a_uiIndex, oRows.begin() + a_uiIndex + (eResult == 0 ? 1 : 0));
        return eResult;
    }
    bool hasdbaccess() override { return note("hasdbaccess") == 0 && m_bAccess; }
    Result getdbaccess() override { return note("getdbaccess", m_bAccess = m_iRefusedRequests-- <= 0); }
    Result commit() override { return note("commit"); }

    [[nodiscard]] long calls(Text a_strCall) const { return std::count(m_oCalls.begin(), m_oCalls.end(), a_strCall); }
    Row* find(Text a_strTable, Text a_strColumn, Text a_strKey)
    {
        auto& oRows = m_oTables[a_strTable];
        const auto matches = [&](const Row& a_oRow) { return a_oRow.getValue(a_strColumn).getText() == a_strKey; };
        const auto it = std::find_if(oRows.begin(), oRows.end(), matches);
        return it != oRows.end() ? &*it : nullptr;
    }

private:
    Result note(Text a_strCall, bool a_bPossible = true)
    {
        m_oCalls.push_back(a_strCall);
        return a_bPossible && m_oRefused.count(a_strCall) == 0 ? 0 : 1;
    }
};
