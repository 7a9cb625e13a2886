#pragma once

#include "cfgctl/database.h"

#include <string>
#include <string_view>
#include <vector>

// COLUMN=VALUE of the command line: its parts, the values that it means in a table, the rows that it names.
namespace cfgctl
{

/// COLUMN=VALUE (the value as it stands) or COLUMN@=FILE (the value is the file's content).
struct Assignment
{
    std::string m_strColumn;
    std::string m_strValue; ///< the value, or the name of the file that holds it, "-" for standard input
    bool m_bFromFile = false;
};

/// A column's name is letters, digits and '_', not beginning with a digit; everything behind the first '=' belongs to
/// the value. Pure. Throws UsageError, whose text never holds what stands behind the '='.
[[nodiscard]] Assignment parseAssignment(std::string_view a_strText);

/// Several, each column at most once. Pure. Throws UsageError.
[[nodiscard]] std::vector<Assignment> parseAssignments(const std::vector<std::string>& a_oTexts);

/// True for "@=-". Pure.
[[nodiscard]] bool isFromStandardInput(const Assignment& a_oAssignment);

/// Puts the content of the files in the place of their names, as readValue gives it. Throws Failure.
void readValues(std::vector<Assignment>& a_oAssignments);

/// The value that a text means in a column, whose type and default a_oColumns (of IConfigClient::getcolumns) tells.
/// Integers are decimal and fit 32 bits with sign; texts are UTF-8 without NUL. Pure. Throws Failure that names table
/// and column and, where there is no such column, those that there are.
[[nodiscard]] korrin::Value parseValue(const std::string& a_strTable,
                                       const korrin::ValueList& a_oColumns,
                                       const std::string& a_strColumn,
                                       const std::string& a_strText);

/// Throws Failure when the table has no such column. Pure.
void requireColumn(const std::string& a_strTable, const korrin::ValueList& a_oColumns, const std::string& a_strColumn);

/// The assignments as a row of typed values. Throws Failure for a column or value that the table cannot take.
[[nodiscard]] korrin::ValueList
makeRow(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oValues);

/// The rows whose column holds the key's value; all rows when there is no key. Throws Failure as Database does, and
/// where the key's column or its value's type is wrong.
[[nodiscard]] Rows
selectRows(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

/// The Id of the one row that the key means. Throws Failure when none or several match.
[[nodiscard]] std::string
selectId(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

} // namespace cfgctl
