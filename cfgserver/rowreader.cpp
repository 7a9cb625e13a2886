#include "cfgserver/rowreader.h"

#include "cfgserver/refusal.h"

#include <algorithm>
#include <numeric>

namespace cfgserver
{

namespace
{

// What a value takes in a reply besides its text: its column's name, its type, lengths. Rather too much.
constexpr std::size_t s_uiValueOverhead = 64;
// A page of rows with one value each takes five elements per row: the row, the column, and its three.
static_assert(g_uiPageBytes / s_uiValueOverhead * 5 < wire::g_uiMaxElements);

std::size_t getSize(const korrin::ValueList& a_oRow)
{
    std::size_t uiSize = 0;
    for (const auto& oPair : a_oRow)
    {
        uiSize += s_uiValueOverhead + oPair.second.getText().size();
    }
    return uiSize;
}

} // namespace

RowReader::RowReader(const Table& a_oTable, const korrin::NameList& a_oNames) : m_oTable(a_oTable)
{
    const TableSchema& oSchema = a_oTable.getSchema();
    for (const std::string& strName : a_oNames)
    {
        const auto oColumn = oSchema.findColumn(strName);
        if (!oColumn)
        {
            throw Refusal(wire::Result::UnknownColumn,
                          "table " + oSchema.m_strName + " has no column " + quoted(strName));
        }
        // Or one small request could ask for a large value a hundred thousand times.
        if (std::find(m_oColumns.begin(), m_oColumns.end(), *oColumn) != m_oColumns.end())
        {
            throw Refusal(wire::Result::BadRequest, "column " + strName + " is asked for twice");
        }
        m_oColumns.push_back(*oColumn);
    }
    if (m_oColumns.empty())
    {
        m_oColumns.resize(oSchema.m_oColumns.size());
        std::iota(m_oColumns.begin(), m_oColumns.end(), 0U);
    }
}

korrin::ValueList RowReader::read(const Row& a_oRow) const
{
    korrin::ValueList oValues;
    for (const std::size_t uiColumn : m_oColumns)
    {
        oValues.add(m_oTable.getSchema().m_oColumns[uiColumn].m_strName, a_oRow.m_oCells[uiColumn]);
    }
    return oValues;
}

void RowReader::readPage(std::size_t a_uiFirst, wire::Reply& a_oReply) const
{
    const std::vector<RowPtr>& oRows = m_oTable.getRows();
    a_oReply.m_uiNumber = static_cast<std::uint32_t>(oRows.size());
    std::size_t uiBytes = 0;
    for (std::size_t uiRow = a_uiFirst; uiRow < oRows.size(); ++uiRow)
    {
        korrin::ValueList oRow = read(*oRows[uiRow]);
        uiBytes += getSize(oRow);
        if (uiBytes > g_uiPageBytes && !a_oReply.m_oRows.empty())
        {
            return;
        }
        a_oReply.m_oRows.push_back(std::move(oRow));
    }
}

korrin::ValueList describeColumns(const TableSchema& a_oSchema)
{
    korrin::ValueList oValues;
    for (const Column& oColumn : a_oSchema.m_oColumns)
    {
        oValues.add(oColumn.m_strName, oColumn.m_oDefault);
    }
    return oValues;
}

} // namespace cfgserver
