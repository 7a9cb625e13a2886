#pragma once

#include "korrin/valuelist.h"

#include <list>
#include <string>
#include <utility>
#include <vector>

namespace cfgctl
{

using Rows = std::list<korrin::ValueList>;

// Columns keep their order, null values become null. JSON is UTF-8: bytes that aren't, which only a provider's reply
// can bring in, become U+FFFD. Pure; never throws for a row's content. No line end follows.

/// One object on one line.
[[nodiscard]] std::string rowToJson(const korrin::ValueList& a_oRow);
/// A list of objects, indented.
[[nodiscard]] std::string rowsToJson(const Rows& a_oRows);
/// An object of tables, as parseImport reads it, indented.
[[nodiscard]] std::string tablesToJson(const std::vector<std::pair<std::string, Rows>>& a_oTables);

} // namespace cfgctl
