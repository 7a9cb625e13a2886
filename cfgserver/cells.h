#pragma once

#include "cfgserver/schema.h"
#include "korrin/valuelist.h"

#include <cstddef>
#include <vector>

namespace cfgserver
{

/// The values of one row, in the order of the table's columns.
using Cells = std::vector<korrin::Value>;

/// Longest text of one value, bytes. Every row then fits into one reply, whatever its table.
constexpr std::size_t g_uiMaxText = 64UL * 1024UL;

/// The row of a table where nothing was given.
[[nodiscard]] Cells makeDefaults(const TableSchema& a_oSchema);

/// Puts the given columns into a_oCells. Checks all of them first: throws Refusal, with nothing written, for an unknown
/// column, one that is named twice, a wrong type, a text beyond g_uiMaxText or an Id below 1.
void assign(const TableSchema& a_oSchema, Cells& a_oCells, const korrin::ValueList& a_oValues);

/// What a row costs in memory, bytes, roughly: its texts and what every value costs.
[[nodiscard]] std::size_t getCost(const Cells& a_oCells);

/// Throws Refusal when a value doesn't have the type of its column.
void checkType(const TableSchema& a_oSchema, const Column& a_oColumn, unsigned a_uiType);

} // namespace cfgserver
