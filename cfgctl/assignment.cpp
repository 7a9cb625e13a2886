#include "cfgctl/assignment.h"

#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "platform/common/values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>

namespace cfgctl
{

namespace
{

bool isName(std::string_view a_strText)
{
    const auto isNameByte = [](unsigned char a_cByte) { return std::isalnum(a_cByte) != 0 || a_cByte == '_'; };
    return !a_strText.empty() && std::all_of(a_strText.begin(), a_strText.end(), isNameByte) &&
           std::isdigit(static_cast<unsigned char>(a_strText.front())) == 0;
}

int parseInteger(const std::string& a_strColumn, const std::string& a_strText)
{
    int iValue = 0;
    const char* pEnd = a_strText.data() + a_strText.size();
    const auto [pStopped, eError] = std::from_chars(a_strText.data(), pEnd, iValue);
    require(eError != std::errc::result_out_of_range,
            a_strColumn + " is out of range: an integer from -2147483648 to 2147483647 is expected");
    require(eError == std::errc() && pStopped == pEnd, a_strColumn + " takes a whole decimal number, such as 0 or 5");
    return iValue;
}

void requireText(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strText)
{
    const std::string strPlace = a_strTable + "." + a_strColumn + ": ";
    require(a_strText.find('\0') == std::string::npos, strPlace + "a text cannot hold a NUL byte");
    require(platform::isUtf8(a_strText), strPlace + "the text is not valid UTF-8");
}

} // namespace

Assignment parseAssignment(std::string_view a_strText)
{
    const std::size_t uiEquals = a_strText.find('=');
    if (uiEquals == std::string_view::npos)
    {
        throw UsageError("'" + std::string(a_strText) + "' is not of the form COLUMN=VALUE");
    }
    Assignment oResult;
    std::string_view strName = a_strText.substr(0, uiEquals);
    if (!strName.empty() && strName.back() == '@')
    {
        strName.remove_suffix(1);
        oResult.m_bFromFile = true;
    }
    if (!isName(strName))
    {
        throw UsageError("'" + std::string(strName) + "' before '=' is not a column's name");
    }
    oResult.m_strColumn = strName;
    oResult.m_strValue = a_strText.substr(uiEquals + 1);
    if (oResult.m_bFromFile && oResult.m_strValue.empty())
    {
        throw UsageError("A file name is missing after '" + oResult.m_strColumn + "@='");
    }
    return oResult;
}

std::vector<Assignment> parseAssignments(const std::vector<std::string>& a_oTexts)
{
    std::vector<Assignment> oResult;
    std::set<std::string> oSeen;
    for (const std::string& strText : a_oTexts)
    {
        Assignment oAssignment = parseAssignment(strText);
        if (!oSeen.insert(oAssignment.m_strColumn).second)
        {
            throw UsageError("Column " + oAssignment.m_strColumn + " is given twice");
        }
        oResult.push_back(std::move(oAssignment));
    }
    return oResult;
}

bool isFromStandardInput(const Assignment& a_oAssignment)
{
    return a_oAssignment.m_bFromFile && a_oAssignment.m_strValue == "-";
}

void readValues(std::vector<Assignment>& a_oAssignments)
{
    for (Assignment& oAssignment : a_oAssignments)
    {
        if (oAssignment.m_bFromFile)
        {
            oAssignment.m_strValue = readValue(oAssignment.m_strValue);
            oAssignment.m_bFromFile = false;
        }
    }
}

void requireColumn(const std::string& a_strTable, const korrin::ValueList& a_oColumns, const std::string& a_strColumn)
{
    if (!a_oColumns.hasValue(a_strColumn))
    {
        const std::string strKnown = join(a_oColumns, ", ", [](const auto& a_oColumn) { return a_oColumn.first; });
        throw Failure("Table " + a_strTable + " has no column " + a_strColumn + "; it has " + strKnown);
    }
}

korrin::Value parseValue(const std::string& a_strTable,
                         const korrin::ValueList& a_oColumns,
                         const std::string& a_strColumn,
                         const std::string& a_strText)
{
    requireColumn(a_strTable, a_oColumns, a_strColumn);
    if (a_oColumns.getValue(a_strColumn).getType() == korrin::eValueInteger)
    {
        return platform::integer(parseInteger(a_strTable + "." + a_strColumn, a_strText));
    }
    requireText(a_strTable, a_strColumn, a_strText);
    return platform::text(a_strText);
}

korrin::ValueList
makeRow(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oValues)
{
    const korrin::ValueList oColumns = a_oDatabase.getColumns(a_strTable);
    korrin::ValueList oRow;
    for (const Assignment& oAssignment : a_oValues)
    {
        const std::string& strColumn = oAssignment.m_strColumn;
        oRow.add(strColumn, parseValue(a_strTable, oColumns, strColumn, oAssignment.m_strValue));
    }
    return oRow;
}

Rows selectRows(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey)
{
    const korrin::ValueList oColumns = a_oDatabase.getColumns(a_strTable);
    if (a_oKey.empty())
    {
        return a_oDatabase.getRows(a_strTable);
    }
    const std::string& strColumn = a_oKey.front().m_strColumn;
    const korrin::Value oValue = parseValue(a_strTable, oColumns, strColumn, a_oKey.front().m_strValue);
    Rows oRows = a_oDatabase.getRows(a_strTable);
    oRows.remove_if([&](const korrin::ValueList& a_oRow) { return a_oRow.getValue(strColumn) != oValue; });
    return oRows;
}

std::string selectId(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey)
{
    const Rows oRows = selectRows(a_oDatabase, a_strTable, a_oKey);
    if (oRows.size() == 1)
    {
        return textOf(oRows.front(), "Id");
    }
    const std::string& strColumn = a_oKey.front().m_strColumn;
    const std::string strKey = strColumn + "=" + hideSecret(a_strTable, strColumn, a_oKey.front().m_strValue);
    require(!oRows.empty(),
            "Table " + a_strTable + " has no row with " + strKey + " ('cfgctl show " + a_strTable + "' lists them)");
    const std::string strIds = join(oRows, ", ", [](const auto& a_oRow) { return textOf(a_oRow, "Id"); });
    throw Failure(std::to_string(oRows.size()) + " rows of table " + a_strTable + " have " + strKey +
                  "; name one by its Id: " + strIds);
}

} // namespace cfgctl
