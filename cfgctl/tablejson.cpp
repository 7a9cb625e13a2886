#include "cfgctl/tablejson.h"

#include "cfgctl/assignment.h"
#include "cfgctl/errors.h"
#include "cfgctl/strictjson.h"
#include "platform/common/valuejson.h"
#include "platform/common/values.h"

#include <climits>
#include <set>

namespace cfgctl
{

namespace
{

constexpr int s_iOneLine = -1;
constexpr int s_iIndented = 2;
constexpr JsonLimits s_oLimits{g_uiImportBytes, 4, 32 * g_uiImportRows}; // no table has as many columns

std::string write(const Json& a_oJson, int a_iIndent)
{
    return a_oJson.dump(a_iIndent, ' ', false, Json::error_handler_t::replace) + "\n";
}

korrin::Value readInteger(const Json& a_oJson)
{
    const bool bTooLarge = a_oJson.is_number_unsigned() && a_oJson.get<std::uint64_t>() > INT_MAX;
    require(!bTooLarge && a_oJson.get<std::int64_t>() >= INT_MIN,
            "the number is out of range (-2147483648 to 2147483647)");
    return platform::integer(a_oJson.get<int>());
}

korrin::Value readText(const std::string& a_strText)
{
    if (a_strText.size() > g_uiImportText)
    {
        throw Failure("the text is longer than " + std::to_string(g_uiImportText) + " bytes");
    }
    if (a_strText.find('\0') != std::string::npos)
    {
        throw Failure("a text cannot hold a NUL character");
    }
    return platform::text(a_strText);
}

korrin::Value readValue(const Json& a_oJson)
{
    switch (a_oJson.type())
    {
    case Json::value_t::string:
        return readText(a_oJson.get_ref<const std::string&>());
    case Json::value_t::number_unsigned: // what is not negative
    case Json::value_t::number_integer:
        return readInteger(a_oJson);
    case Json::value_t::number_float:
        throw Failure("only whole numbers can be stored");
    case Json::value_t::boolean:
        throw Failure("true and false are not values; write 1 or 0");
    case Json::value_t::null:
        throw Failure("null is not a value; leave the column out for its default");
    default:
        throw Failure("a column holds a number or a text");
    }
}

korrin::Value readColumn(const Json& a_oJson, unsigned a_uiType)
{
    korrin::Value oValue = readValue(a_oJson);
    require(oValue.getType() == a_uiType,
            a_uiType == korrin::eValueInteger ? "this column takes a whole number without quotes"
                                              : "this column takes a text in quotes");
    return oValue;
}

korrin::ValueList readRow(const Json& a_oJson, const std::string& a_strTable, const korrin::ValueList& a_oColumns)
{
    require(a_oJson.is_object(), ": a row is an object of columns");
    korrin::ValueList oRow;
    for (const auto& oField : a_oJson.items())
    {
        const std::string& strColumn = oField.key();
        within(": ", [&] { requireColumn(a_strTable, a_oColumns, strColumn); });
        within(", " + strColumn + ": ",
               [&] { oRow.add(strColumn, readColumn(oField.value(), a_oColumns.getValue(strColumn).getType())); });
    }
    return oRow;
}

ImportedTable readTable(const Json& a_oJson, const std::string& a_strTable, const Schema& a_oSchema)
{
    const auto itColumns = a_oSchema.find(a_strTable);
    require(itColumns != a_oSchema.end(), "there is no table \"" + a_strTable + "\"; 'cfgctl tables' lists them");
    require(a_oJson.is_array(), a_strTable + ": a table is a list of rows in brackets");
    ImportedTable oTable{a_strTable, {}};
    std::set<int> oIds;
    for (const Json& oEntry : a_oJson)
    {
        const std::string strPlace = a_strTable + ", row " + std::to_string(oTable.m_oRows.size() + 1);
        within(strPlace, [&] { oTable.m_oRows.push_back(readRow(oEntry, a_strTable, itColumns->second)); });
        const korrin::ValueList& oRow = oTable.m_oRows.back();
        require(!oRow.hasValue("Id") || oIds.insert(oRow.getValue("Id").getInteger()).second,
                strPlace + ", Id: another row of this table has the same Id");
    }
    return oTable;
}

} // namespace

std::string rowToJson(const korrin::ValueList& a_oRow)
{
    return write(a_oRow, s_iOneLine);
}

std::string rowsToJson(const Rows& a_oRows)
{
    return write(a_oRows, s_iIndented);
}

std::string tablesToJson(const std::vector<std::pair<std::string, Rows>>& a_oTables)
{
    Json oResult = Json::object();
    for (const auto& [strTable, oRows] : a_oTables)
    {
        oResult[strTable] = oRows;
    }
    return write(oResult, s_iIndented);
}

std::vector<ImportedTable> parseImport(std::string_view a_strBytes, const Schema& a_oSchema)
{
    const Json oFile = parseStrictJson(a_strBytes, s_oLimits);
    require(oFile.is_object(), "the file has to be one object {\"TABLE\": [rows]}");
    std::vector<ImportedTable> oTables;
    std::size_t uiRows = 0;
    for (const auto& [strTable, oJson] : oFile.items())
    {
        uiRows += oJson.size();
        require(uiRows <= g_uiImportRows, "more than " + std::to_string(g_uiImportRows) + " rows in one file");
        oTables.push_back(readTable(oJson, strTable, a_oSchema));
    }
    return oTables;
}

} // namespace cfgctl
