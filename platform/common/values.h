#pragma once

#include "korrin/valuelist.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace platform
{

// Column values and rows, made and read in few words. Kits differ in what they answer for a missing column, so they are
// never asked for one.

[[nodiscard]] inline korrin::Value integer(int a_iValue)
{
    return {korrin::eValueInteger, a_iValue};
}

[[nodiscard]] inline korrin::Value text(const std::string& a_strText)
{
    return {korrin::eValueText, a_strText};
}

[[nodiscard]] inline korrin::ValueList row(std::initializer_list<std::pair<const char*, korrin::Value>> a_oColumns)
{
    korrin::ValueList oRow;
    for (const auto& [pColumn, oValue] : a_oColumns)
    {
        oRow.add(pColumn, oValue);
    }
    return oRow;
}

/// The column's text; empty when the row lacks the column.
[[nodiscard]] inline std::string textOf(const korrin::ValueList& a_oRow, const std::string& a_strColumn)
{
    return a_oRow.hasValue(a_strColumn) ? a_oRow.getValue(a_strColumn).getText() : std::string();
}

/// Whether a row has nothing in that column.
[[nodiscard]] inline bool isNull(const korrin::ValueList& a_oRow, const std::string& a_strColumn)
{
    return a_oRow.getValue(a_strColumn).getType() == korrin::eValueNull;
}

/// The column is a number other than 0.
[[nodiscard]] inline bool isSet(const korrin::ValueList& a_oRow, const std::string& a_strColumn)
{
    return a_oRow.hasValue(a_strColumn) && a_oRow.getValue(a_strColumn).getInteger() != 0;
}

} // namespace platform
