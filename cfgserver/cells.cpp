#include "cfgserver/cells.h"

#include "cfgserver/refusal.h"

namespace cfgserver
{

namespace
{

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

std::size_t checkColumn(const TableSchema& a_oSchema, const std::string& a_strName, std::vector<bool>& a_oSeen)
{
    const auto oColumn = a_oSchema.findColumn(a_strName);
    if (!oColumn)
    {
        throw Refusal(wire::Result::UnknownColumn,
                      "table " + a_oSchema.m_strName + " has no column " + quoted(a_strName));
    }
    if (a_oSeen[*oColumn])
    {
        throw Refusal(wire::Result::BadRequest, nameOf(a_oSchema, a_oSchema.m_oColumns[*oColumn]) + " is named twice");
    }
    a_oSeen[*oColumn] = true;
    return *oColumn;
}

} // namespace

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
        const std::size_t uiColumn = checkColumn(a_oSchema, strName, oSeen);
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

} // namespace cfgserver
