#pragma once

#include "korrin/valuelist.h"

#include <string>

namespace cfgctl
{

/// The value that a text means in a column, whose type and default a_oColumns (of IConfigClient::getcolumns) tells.
/// Integers are decimal and fit 32 bits with sign; texts are UTF-8 without NUL. Pure. Throws Failure that names table
/// and column and, where there is no such column, those that there are.
[[nodiscard]] korrin::Value parseValue(const std::string& a_strTable,
                                       const korrin::ValueList& a_oColumns,
                                       const std::string& a_strColumn,
                                       const std::string& a_strText);

/// Throws Failure when the table has no such column. Pure.
void requireColumn(const std::string& a_strTable, const korrin::ValueList& a_oColumns, const std::string& a_strColumn);

/// Throws Failure when a text can't be a value: not UTF-8, or a NUL in it. Pure.
void requireText(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strText);

} // namespace cfgctl
