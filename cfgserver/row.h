#pragma once

#include "config/schema.h"
#include "korrin/namelist.h"
#include "korrin/valuelist.h"
#include "platform/wire/message.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace cfgserver
{

using quorvad::dbm::Column;
using quorvad::dbm::findTable;
using quorvad::dbm::g_uiIdColumn;
using quorvad::dbm::getSchema;
using quorvad::dbm::TableSchema;

/// The values of one row, in the order of the table's columns.
using Cells = std::vector<korrin::Value>;

/// One row; never changed once it stands in a table, so that tables can share it.
struct Row
{
    std::uint64_t m_uiSequence; ///< keeps the order of the rows and names the row on disk; grows along the table
    Cells m_oCells;
};

using RowPtr = std::shared_ptr<const Row>;

/// Longest text of one value, bytes. Every row then fits into one reply, whatever its table.
constexpr std::size_t g_uiMaxText = 64UL * 1024UL;
/// A reply of several rows ends after this many bytes; the client asks for the rest.
constexpr std::size_t g_uiPageBytes = 512UL * 1024UL;

/// A row of defaults.
[[nodiscard]] Cells makeDefaults(const TableSchema& a_oSchema);

/// The position of a column; throws Refusal when the table has none of that name.
[[nodiscard]] std::size_t requireColumn(const TableSchema& a_oSchema, const std::string& a_strName);

/// Puts the given columns into a_oCells. Checks all of them first: throws Refusal, with nothing written, for an unknown
/// column, one that is named twice, a wrong type, a text beyond g_uiMaxText or an Id below 1.
void assign(const TableSchema& a_oSchema, Cells& a_oCells, const korrin::ValueList& a_oValues);

/// Estimated memory of a row, bytes.
[[nodiscard]] std::size_t getCost(const Cells& a_oCells);

/// Throws Refusal when a value does not have the type of its column.
void checkType(const TableSchema& a_oSchema, const Column& a_oColumn, unsigned a_uiType);

/// Turns rows into those of a reply: the columns asked for, in that order; all when none is named.
class RowReader
{
public:
    /// Throws Refusal for a column that the table lacks or that is named twice.
    RowReader(const TableSchema& a_oSchema, const korrin::NameList& a_oNames);

    [[nodiscard]] korrin::ValueList read(const Cells& a_oCells) const;
    /// Rows from a position on, as many as fit but at least one, and the number of rows in all.
    void readPage(const std::vector<RowPtr>& a_oRows, std::size_t a_uiFirst, wire::Reply& a_oReply) const;

private:
    const TableSchema& m_oSchema;
    std::vector<std::size_t> m_oColumns;
};

} // namespace cfgserver
