#pragma once

#include "platform/common/values.h"

#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Tables as JSON, in both directions: {"TABLE": [{"COLUMN": VALUE, ...}, ...], ...}.
namespace cfgctl
{

using platform::isNull;
using platform::isSet;
using platform::textOf;

using Rows = std::list<korrin::ValueList>;

/// Columns, with their types and defaults, of every table.
using Schema = std::map<std::string, korrin::ValueList>;

// Writing: columns keep their order, null values become null. Bytes that are not UTF-8, which only a provider's reply
// can contain, become U+FFFD. Pure; never throws for a row's content. The text ends with a line end.

/// One object on one line.
[[nodiscard]] std::string rowToJson(const korrin::ValueList& a_oRow);
/// A list of objects, indented.
[[nodiscard]] std::string rowsToJson(const Rows& a_oRows);
/// An object of tables, indented.
[[nodiscard]] std::string tablesToJson(const std::vector<std::pair<std::string, Rows>>& a_oTables);

/// The rows of a table in a file.
struct ImportedTable
{
    std::string m_strTable;
    std::vector<korrin::ValueList> m_oRows; ///< only the columns that the file names, in its order
};

constexpr std::size_t g_uiImportBytes = 8UL * 1024UL * 1024UL;
constexpr std::size_t g_uiImportRows = 10000;
constexpr std::size_t g_uiImportText = 64UL * 1024UL;

/// The tables of a file, in its order, checked against the schema: known names, each once, types as the columns',
/// unique Ids, sizes within the limits above. Pure; memory is a small multiple of the input. Throws Failure with table,
/// row and column, or line and column of invalid JSON, and the reason; the text never contains a value of the file.
[[nodiscard]] std::vector<ImportedTable> parseImport(std::string_view a_strBytes, const Schema& a_oSchema);

} // namespace cfgctl
