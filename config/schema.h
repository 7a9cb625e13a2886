#pragma once

#include "config/columns.h"
#include "korrin/value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvad::dbm
{

/// What of a column's value must not be seen by everybody.
enum class ESecret
{
    eNone,
    eWhole, ///< a password
    eUrl    ///< a URL that may hold keys: what identifies the user and the values of the query
};

/// What a table is for.
enum class EKind
{
    eSettings, ///< what people decide
    eState     ///< what a program tells of the moment; an old one put back would mislead
};

/// One column. Its type is the type of its default.
struct Column
{
    std::string m_strName;
    korrin::Value m_oDefault;
    bool m_bUnique = false; ///< no two rows of the table hold the same value; rows are found by it without a search
    ESecret m_eSecret = ESecret::eNone;
};

/// One table. Its first column is always the unique integer "Id".
struct TableSchema
{
    std::string m_strName;
    EKind m_eKind;
    const char* m_pWriter; ///< the program that writes it besides people, or null
    std::vector<Column> m_oColumns;
    bool m_bVolatile = false; ///< kept in memory only: what it tells is out of date after a restart anyway
    bool m_bFixedRow = false; ///< always exactly one row, Id 1, which can be changed only

    [[nodiscard]] std::optional<std::size_t> findColumn(std::string_view a_strName) const;
};

/// The position of column Id in every table.
inline constexpr std::size_t g_uiIdColumn = 0;

/// All tables, in the order in which they are listed to clients: the one place that says what is known of a table, for
/// the service that keeps it and for every program that reads it. Lives as long as the process; any thread.
[[nodiscard]] const std::vector<TableSchema>& getSchema();

/// The position of a table in getSchema().
[[nodiscard]] std::optional<std::size_t> findTable(std::string_view a_strName);

/// The column's secrecy; none for a table or a column that is not in the schema.
[[nodiscard]] ESecret secrecyOf(std::string_view a_strTable, std::string_view a_strColumn);

} // namespace quorvad::dbm
