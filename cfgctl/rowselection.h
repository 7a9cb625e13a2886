#pragma once

#include "cfgctl/assignment.h"
#include "cfgctl/database.h"

#include <string>
#include <vector>

namespace cfgctl
{

/// The rows whose column holds the key's value; all rows when there is no key. Throws Failure as Database does, and
/// where the key's column or its value's type is wrong.
[[nodiscard]] Rows
selectRows(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

/// The Id of the one row that the key means. Throws Failure when none or several match.
[[nodiscard]] std::string
selectId(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey);

/// The assignments as a row of typed values. Throws Failure for a column or value that the table can't take.
[[nodiscard]] korrin::ValueList
makeRow(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oValues);

} // namespace cfgctl
