#pragma once

#include "cfgserver/table.h"
#include "korrin/namelist.h"
#include "platform/wire/message.h"

namespace cfgserver
{

/// Bytes after which a reply of several rows ends; the client asks for the rest.
constexpr std::size_t g_uiPageBytes = 512UL * 1024UL;

/// Turns rows into those of a reply: the columns asked for, in that order; all when none is named.
class RowReader
{
public:
    /// Throws Refusal for a column that the table lacks or that is named twice.
    RowReader(const Table& a_oTable, const korrin::NameList& a_oNames);

    [[nodiscard]] korrin::ValueList read(const Row& a_oRow) const;
    /// Rows from a position on, as many as fit but at least one, and the number of rows in all.
    void readPage(std::size_t a_uiFirst, wire::Reply& a_oReply) const;

private:
    const Table& m_oTable;
    std::vector<std::size_t> m_oColumns;
};

/// The columns of a table as a row: the defaults, with their types.
[[nodiscard]] korrin::ValueList describeColumns(const TableSchema& a_oSchema);

} // namespace cfgserver
