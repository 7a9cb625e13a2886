#include "cfgctl/jsonoutput.h"

#include <nlohmann/json.hpp>

namespace cfgctl
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr int s_iOneLine = -1;
constexpr int s_iIndented = 2;

Json makeValue(const korrin::Value& a_oValue)
{
    switch (a_oValue.getType())
    {
    case korrin::eValueInteger:
        return a_oValue.getInteger();
    case korrin::eValueText:
        return a_oValue.getText();
    default:
        return nullptr;
    }
}

Json makeRow(const korrin::ValueList& a_oRow)
{
    Json oResult = Json::object();
    for (const auto& [strColumn, oValue] : a_oRow)
    {
        oResult[strColumn] = makeValue(oValue);
    }
    return oResult;
}

Json makeRows(const Rows& a_oRows)
{
    Json oResult = Json::array();
    for (const korrin::ValueList& oRow : a_oRows)
    {
        oResult.push_back(makeRow(oRow));
    }
    return oResult;
}

std::string write(const Json& a_oJson, int a_iIndent)
{
    return a_oJson.dump(a_iIndent, ' ', false, Json::error_handler_t::replace);
}

} // namespace

std::string rowToJson(const korrin::ValueList& a_oRow)
{
    return write(makeRow(a_oRow), s_iOneLine);
}

std::string rowsToJson(const Rows& a_oRows)
{
    return write(makeRows(a_oRows), s_iIndented);
}

std::string tablesToJson(const std::vector<std::pair<std::string, Rows>>& a_oTables)
{
    Json oResult = Json::object();
    for (const auto& [strTable, oRows] : a_oTables)
    {
        oResult[strTable] = makeRows(oRows);
    }
    return write(oResult, s_iIndented);
}

} // namespace cfgctl
