#pragma once

#include "cfgctl/database.h"

#include <string>
#include <string_view>
#include <vector>

// COLUMN=VALUE on the command line: parsing it, its typed value, the rows that it selects.
namespace cfgctl
{

/// COLUMN=VALUE, or COLUMN@=FILE, whose value is the file's content.
struct Assignment
{
    std::string m_strColumn;
    std::string m_strValue; ///< the value, or the name of the file that holds it, "-" for standard input
    bool m_bFromFile = false;
};

/// A column's name has letters, digits and '_', and no digit first; everything after the first '=' is the value. Pure.
/// Throws UsageError, whose text never contains the value.
[[nodiscard]] Assignment parseAssignment(std::string_view a_strText);

/// Several, each column at most once. Pure. Throws UsageError.
[[nodiscard]] std::vector<Assignment> parseAssignments(const std::vector<std::string>& a_oTexts);

/// True for "@=-". Pure.
[[nodiscard]] bool isFromStandardInput(const Assignment& a_oAssignment);

/// Replaces the names of files with their content, read by readValue. Throws Failure.
void readValues(std::vector<Assignment>& a_oAssignments);

/// A text as a value of a column, by the column's type in a_oColumns (from IConfigClient::getcolumns). Integers are
/// decimal and fit in a signed 32-bit number; texts are UTF-8 without NUL. Pure. Throws Failure that names table and
/// column; for an unknown column, it lists the table's columns.
[[nodiscard]] korrin::Value parseValue(const std::string& a_strTable,
                                       const korrin::ValueList& a_oColumns,
                                       const std::string& a_strColumn,
                                       const std::string& a_strText);

/// Throws Failure if the table has no such column. Pure.
void requireColumn(const std::string& a_strTable, const korrin::ValueList& a_oColumns, const std::string& a_strColumn);

/// The assignments as a row of typed values. Throws Failure for an unknown column or a wrong value.
[[nodiscard]] korrin::ValueList
makeRow(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oValues);

/// The rows that match the key; all rows without a key. Throws Failure as Database does, and for a key with an unknown
/// column or a wrong value.
[[nodiscard]] Rows
selectRows(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

/// The Id of the row that matches the key. Throws Failure if none or several match.
[[nodiscard]] std::string
selectId(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

} // namespace cfgctl
