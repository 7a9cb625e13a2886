#include "cfgserver/row.h"

#include "cfgserver/refusal.h"

#include <algorithm>
#include <numeric>

namespace cfgserver
{

namespace
{

// Of a value in a reply, besides its text: its column's name, type and lengths. A generous estimate.
constexpr std::size_t s_uiValueOverhead = 64;
// A page of rows with one value each takes five elements per row: the row, the column, and its three.
static_assert(g_uiPageBytes / s_uiValueOverhead * 5 < wire::g_uiMaxElements);

const char* nameOfType(unsigned a_uiType)
{
    switch (a_uiType)
    {
    case korrin::eValueInteger:
        return "an integer";
    case korrin::eValueText:
        return "a text";
    default:
        return "neither integer nor text";
    }
}

std::string nameOf(const TableSchema& a_oSchema, const Column& a_oColumn)
{
    return "column " + a_oColumn.m_strName + " of table " + a_oSchema.m_strName;
}

void checkValue(const TableSchema& a_oSchema, std::size_t a_uiColumn, const korrin::Value& a_oValue)
{
    const Column& oColumn = a_oSchema.m_oColumns[a_uiColumn];
    checkType(a_oSchema, oColumn, a_oValue.getType());
    if (a_oValue.getText().size() > g_uiMaxText)
    {
        throw Refusal(wire::Result::TooLarge,
                      nameOf(a_oSchema, oColumn) + " takes at most " + std::to_string(g_uiMaxText) +
                          " bytes, the value has " + std::to_string(a_oValue.getText().size()));
    }
    if (a_uiColumn == g_uiIdColumn && a_oValue.getInteger() < 1)
    {
        throw Refusal(wire::Result::BadRequest, nameOf(a_oSchema, oColumn) + " starts at 1, not " + a_oValue.getText());
    }
}

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

std::size_t requireColumn(const TableSchema& a_oSchema, const std::string& a_strName)
{
    const auto oColumn = a_oSchema.findColumn(a_strName);
    if (!oColumn)
    {
        throw Refusal(wire::Result::UnknownColumn,
                      "table " + a_oSchema.m_strName + " has no column " + quoted(a_strName));
    }
    return *oColumn;
}

void checkType(const TableSchema& a_oSchema, const Column& a_oColumn, unsigned a_uiType)
{
    const unsigned uiWanted = a_oColumn.m_oDefault.getType();
    if (a_uiType != uiWanted)
    {
        throw Refusal(wire::Result::WrongType,
                      nameOf(a_oSchema, a_oColumn) + " takes " + nameOfType(uiWanted) + ", the value is " +
                          nameOfType(a_uiType));
    }
}

Cells makeDefaults(const TableSchema& a_oSchema)
{
    Cells oCells;
    oCells.reserve(a_oSchema.m_oColumns.size());
    for (const Column& oColumn : a_oSchema.m_oColumns)
    {
        oCells.push_back(oColumn.m_oDefault);
    }
    return oCells;
}

void assign(const TableSchema& a_oSchema, Cells& a_oCells, const korrin::ValueList& a_oValues)
{
    std::vector<bool> oSeen(a_oSchema.m_oColumns.size());
    Cells oCells = a_oCells;
    for (const auto& [strName, oValue] : a_oValues)
    {
        const std::size_t uiColumn = requireColumn(a_oSchema, strName);
        if (oSeen[uiColumn])
        {
            throw Refusal(wire::Result::BadRequest,
                          nameOf(a_oSchema, a_oSchema.m_oColumns[uiColumn]) + " is named twice");
        }
        oSeen[uiColumn] = true;
        checkValue(a_oSchema, uiColumn, oValue);
        oCells[uiColumn] = oValue;
    }
    a_oCells.swap(oCells);
}

std::size_t getCost(const Cells& a_oCells)
{
    std::size_t uiCost = 0;
    for (const korrin::Value& oValue : a_oCells)
    {
        uiCost += sizeof(korrin::Value) + oValue.getText().size();
    }
    return uiCost;
}

RowReader::RowReader(const TableSchema& a_oSchema, const korrin::NameList& a_oNames) : m_oSchema(a_oSchema)
{
    for (const std::string& strName : a_oNames)
    {
        const std::size_t uiColumn = requireColumn(a_oSchema, strName);
        // Otherwise a small request could ask for a large value a hundred thousand times.
        if (std::find(m_oColumns.begin(), m_oColumns.end(), uiColumn) != m_oColumns.end())
        {
            throw Refusal(wire::Result::BadRequest, "column " + strName + " is requested twice");
        }
        m_oColumns.push_back(uiColumn);
    }
    if (m_oColumns.empty())
    {
        m_oColumns.resize(a_oSchema.m_oColumns.size());
        std::iota(m_oColumns.begin(), m_oColumns.end(), 0U);
    }
}

korrin::ValueList RowReader::read(const Cells& a_oCells) const
{
    korrin::ValueList oValues;
    for (const std::size_t uiColumn : m_oColumns)
    {
        oValues.add(m_oSchema.m_oColumns[uiColumn].m_strName, a_oCells[uiColumn]);
    }
    return oValues;
}

void RowReader::readPage(const std::vector<RowPtr>& a_oRows, std::size_t a_uiFirst, wire::Reply& a_oReply) const
{
    a_oReply.m_uiNumber = static_cast<std::uint32_t>(a_oRows.size());
    std::size_t uiBytes = 0;
    for (std::size_t uiRow = a_uiFirst; uiRow < a_oRows.size(); ++uiRow)
    {
        korrin::ValueList oRow = read(a_oRows[uiRow]->m_oCells);
        uiBytes += getSize(oRow);
        if (uiBytes > g_uiPageBytes && !a_oReply.m_oRows.empty())
        {
            return;
        }
        a_oReply.m_oRows.push_back(std::move(oRow));
    }
}

} // namespace cfgserver
