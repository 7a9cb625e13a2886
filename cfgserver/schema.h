#pragma once

#include "korrin/value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cfgserver
{

/// One column. Its type is the type of its default.
struct Column
{
    std::string m_strName;
    korrin::Value m_oDefault;
    bool m_bUnique = false; ///< no two rows of the table hold the same value; rows are found by it without a search
    bool m_bSecret = false; ///< its values never stand in an error text or a log line
};

/// One table. Its first column is always the unique integer "Id".
struct TableSchema
{
    std::string m_strName;
    std::vector<Column> m_oColumns;
    bool m_bVolatile = false; ///< kept in memory only: what it tells is out of date after a restart anyway
    bool m_bFixedRow = false; ///< always exactly one row, Id 1, which can be changed only

    [[nodiscard]] std::optional<std::size_t> findColumn(std::string_view a_strName) const;
};

/// The position of column Id in every table.
constexpr std::size_t g_uiIdColumn = 0;

/// All tables, in the order in which they are listed to clients. Lives as long as the process; any thread may read it.
const std::vector<TableSchema>& getSchema();

/// The position of a table in getSchema().
[[nodiscard]] std::optional<std::size_t> findTable(std::string_view a_strName);

} // namespace cfgserver
