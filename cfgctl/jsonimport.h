#pragma once

#include "korrin/valuelist.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// Columns, with their types and defaults, of every table.
using Schema = std::map<std::string, korrin::ValueList>;

/// The rows that a file wants a table to have.
struct ImportedTable
{
    std::string m_strTable;
    std::vector<korrin::ValueList> m_oRows; ///< only the columns that the file names, in its order
};

constexpr std::size_t g_uiImportBytes = 8UL * 1024UL * 1024UL;
constexpr std::size_t g_uiImportRows = 10000;
constexpr std::size_t g_uiImportText = 64UL * 1024UL;

/// The tables of {"TABLE": [{"COLUMN": VALUE, ...}, ...], ...}, in the file's order. Everything is checked against the
/// schema: names known and given once, types as the columns', Ids given once per table, sizes within the limits above.
/// Pure; memory is a small multiple of the input. Throws Failure with line, column and the reason; the text never
/// holds a value of the file.
[[nodiscard]] std::vector<ImportedTable> parseImport(std::string_view a_strBytes, const Schema& a_oSchema);

} // namespace cfgctl
