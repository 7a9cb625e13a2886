#include "cfgctl/columnvalue.h"

#include "cfgctl/errors.h"
#include "cfgctl/utf8.h"

#include <charconv>

namespace cfgctl
{

namespace
{

int parseInteger(const std::string& a_strColumn, const std::string& a_strText)
{
    int iValue = 0;
    const char* pEnd = a_strText.data() + a_strText.size();
    const auto [pStopped, eError] = std::from_chars(a_strText.data(), pEnd, iValue);
    if (eError == std::errc::result_out_of_range)
    {
        throw Failure(a_strColumn + " is out of range: an integer from -2147483648 to 2147483647 is expected");
    }
    if (eError != std::errc() || pStopped != pEnd)
    {
        throw Failure(a_strColumn + " takes a whole decimal number, such as 0 or 5");
    }
    return iValue;
}

} // namespace

void requireColumn(const std::string& a_strTable, const korrin::ValueList& a_oColumns, const std::string& a_strColumn)
{
    if (a_oColumns.hasValue(a_strColumn))
    {
        return;
    }
    std::string strKnown;
    for (const auto& [strName, oValue] : a_oColumns)
    {
        strKnown += (strKnown.empty() ? "" : ", ") + strName;
    }
    throw Failure("Table " + a_strTable + " has no column " + a_strColumn + "; it has " + strKnown);
}

void requireText(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strText)
{
    if (a_strText.find('\0') != std::string::npos)
    {
        throw Failure(a_strTable + "." + a_strColumn + ": a text can't hold a NUL byte");
    }
    if (!isUtf8(a_strText))
    {
        throw Failure(a_strTable + "." + a_strColumn + ": the text is not valid UTF-8");
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
        return {korrin::eValueInteger, parseInteger(a_strTable + "." + a_strColumn, a_strText)};
    }
    requireText(a_strTable, a_strColumn, a_strText);
    return {korrin::eValueText, a_strText};
}

} // namespace cfgctl
