#include "cfgctl/importreader.h"

#include "cfgctl/columnvalue.h"
#include "cfgctl/errors.h"

#include <algorithm>
#include <climits>

namespace cfgctl
{

bool ImportReader::fail(const std::string& a_strReason)
{
    std::string strPlace;
    if (m_eLevel == Level::Rows || m_eLevel == Level::Columns)
    {
        strPlace = m_oTables.back().m_strTable;
        const std::size_t uiRow = m_oTables.back().m_oRows.size() + (m_eLevel == Level::Rows ? 1 : 0);
        strPlace += ", row " + std::to_string(uiRow) + (m_strColumn.empty() ? "" : ", " + m_strColumn) + ": ";
    }
    m_strReason = strPlace + a_strReason;
    return false;
}

bool ImportReader::wantsValue(unsigned a_uiType)
{
    if (m_eLevel != Level::Columns)
    {
        const bool bRow = m_eLevel == Level::Rows;
        return fail(bRow ? "a row is an object of columns" : "an object of tables is expected, each a list of rows");
    }
    if (getColumns().getValue(m_strColumn).getType() != a_uiType)
    {
        return fail(a_uiType == korrin::eValueInteger ? "this column takes a text in quotes"
                                                      : "this column takes a whole number without quotes");
    }
    return true;
}

bool ImportReader::number_unsigned(number_unsigned_t a_uiValue)
{
    return addInteger(a_uiValue > INT_MAX ? LLONG_MAX : static_cast<long long>(a_uiValue));
}

bool ImportReader::number_float(number_float_t, const string_t&)
{
    m_bNumber = true;
    return fail("only whole numbers can be stored");
}

bool ImportReader::addInteger(long long a_iValue)
{
    m_bNumber = true;
    if (!wantsValue(korrin::eValueInteger))
    {
        return false;
    }
    if (a_iValue < INT_MIN || a_iValue > INT_MAX)
    {
        return fail("the number is out of range (-2147483648 to 2147483647)");
    }
    const int iValue = static_cast<int>(a_iValue);
    if (m_strColumn == "Id" && !m_oIds.insert(iValue).second)
    {
        return fail("another row of this table has the same Id");
    }
    m_oTables.back().m_oRows.back().add(m_strColumn, korrin::Value(korrin::eValueInteger, iValue));
    m_bNumber = false;
    return true;
}

bool ImportReader::addText(const std::string& a_strValue)
{
    if (!wantsValue(korrin::eValueText))
    {
        return false;
    }
    if (a_strValue.size() > g_uiImportText)
    {
        return fail("the text is longer than " + std::to_string(g_uiImportText) + " bytes");
    }
    if (a_strValue.find('\0') != std::string::npos)
    {
        return fail("a text can't hold a NUL character");
    }
    m_oTables.back().m_oRows.back().add(m_strColumn, korrin::Value(korrin::eValueText, a_strValue));
    return true;
}

bool ImportReader::start_object(std::size_t)
{
    if (m_eLevel == Level::Start)
    {
        m_eLevel = Level::Tables;
        return true;
    }
    if (m_eLevel != Level::Rows)
    {
        return fail(m_eLevel == Level::Tables ? "a table is a list of rows in brackets"
                                              : "a column holds a number or a text");
    }
    if (++m_uiRows > g_uiImportRows)
    {
        return fail("more than " + std::to_string(g_uiImportRows) + " rows in one file");
    }
    m_oTables.back().m_oRows.emplace_back();
    m_eLevel = Level::Columns;
    return true;
}

bool ImportReader::end_object()
{
    m_strColumn.clear();
    m_eLevel = m_eLevel == Level::Columns ? Level::Rows : Level::Start;
    return true;
}

bool ImportReader::start_array(std::size_t)
{
    switch (m_eLevel)
    {
    case Level::Tables:
        m_eLevel = Level::Rows;
        return true;
    case Level::Start:
        return fail("the file has to be one object {\"TABLE\": [rows]}");
    case Level::Rows:
        return fail("a row is an object of columns");
    case Level::Columns:
        break;
    }
    return fail("a column holds a number or a text");
}

bool ImportReader::end_array()
{
    m_eLevel = Level::Tables;
    return true;
}

bool ImportReader::key(string_t& a_strName)
{
    return m_eLevel == Level::Tables ? startTable(a_strName) : startColumn(a_strName);
}

bool ImportReader::startTable(const std::string& a_strName)
{
    if (m_oSchema.count(a_strName) == 0)
    {
        return fail("there is no table \"" + a_strName + "\"; 'cfgctl tables' lists them");
    }
    if (std::any_of(m_oTables.begin(),
                    m_oTables.end(),
                    [&](const ImportedTable& a_oTable) { return a_oTable.m_strTable == a_strName; }))
    {
        return fail("table " + a_strName + " is given twice");
    }
    m_oTables.push_back({a_strName, {}});
    m_oIds.clear();
    return true;
}

bool ImportReader::startColumn(const std::string& a_strName)
{
    m_strColumn.clear();
    if (m_oTables.back().m_oRows.back().hasValue(a_strName))
    {
        return fail("column " + a_strName + " is given twice");
    }
    try
    {
        requireColumn(m_oTables.back().m_strTable, getColumns(), a_strName);
    }
    catch (const Failure& oError)
    {
        return fail(oError.what());
    }
    m_strColumn = a_strName;
    return true;
}

bool ImportReader::parse_error(std::size_t, const std::string&, const nlohmann::json::exception& a_oError)
{
    // The parser's text is "[id] parse error at line L, column C: reason; last read: 'bytes of the file'". Those bytes
    // may be a password.
    std::string strReason = a_oError.what();
    const std::size_t uiStart = strReason.find(": ");
    strReason.erase(0, uiStart == std::string::npos ? 0 : uiStart + 2);
    strReason.erase(std::min(strReason.size(), strReason.find("; last read: ")));
    m_strColumn.clear();
    m_eLevel = Level::Start;
    return fail("not valid JSON: " + strReason);
}

} // namespace cfgctl
