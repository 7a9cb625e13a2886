#include "cfgserver/table.h"

#include "cfgserver/refusal.h"
#include "platform/common/values.h"

#include <algorithm>
#include <limits>

namespace cfgserver
{

namespace
{

std::string describeKey(const TableSchema& a_oSchema, std::size_t a_uiColumn, const std::string& a_strKey)
{
    const Column& oColumn = a_oSchema.m_oColumns[a_uiColumn];
    return oColumn.m_strName +
           (oColumn.m_eSecret != quorvad::dbm::ESecret::eNone ? " of that value" : " " + quoted(a_strKey));
}

// FNV-1a with 64 bits, the same in every build: the standard library's hash may differ after an upgrade.
constexpr std::uint64_t s_uiDigestOfNothing = 0xcbf29ce484222325;
constexpr std::uint64_t s_uiDigestPrime = 0x100000001b3;

void mix(std::uint64_t& a_uiDigest, const std::string& a_strText)
{
    for (const char cByte : a_strText)
    {
        a_uiDigest = (a_uiDigest ^ static_cast<unsigned char>(cByte)) * s_uiDigestPrime;
    }
}

} // namespace

Table::Table(const TableSchema& a_oSchema) : m_pSchema(&a_oSchema), m_oIndex(a_oSchema.m_oColumns.size())
{
    if (a_oSchema.m_bFixedRow)
    {
        Cells oCells = makeDefaults(a_oSchema);
        oCells[g_uiIdColumn] = platform::integer(1);
        append(std::make_shared<const Row>(Row{m_uiNextSequence, std::move(oCells)}));
    }
}

Table::Table(const TableSchema& a_oSchema, std::vector<RowPtr> a_oRows, int a_iHighestId)
    : m_pSchema(&a_oSchema), m_oIndex(a_oSchema.m_oColumns.size())
{
    for (RowPtr& pRow : a_oRows)
    {
        checkKeys(pRow->m_oCells, nullptr);
        append(std::move(pRow));
    }
    if (a_oSchema.m_bFixedRow && (m_oRows.size() != 1 || m_iHighestId != 1))
    {
        throw Refusal(wire::Result::BadRequest, "table " + a_oSchema.m_strName + " must have one row, with Id 1");
    }
    m_iHighestId = std::max(m_iHighestId, a_iHighestId);
}

const Row& Table::getRow(std::size_t a_uiPosition) const
{
    if (a_uiPosition >= m_oRows.size())
    {
        throw Refusal(wire::Result::NoSuchRow,
                      "table " + m_pSchema->m_strName + " has no position " + std::to_string(a_uiPosition) + ", only " +
                          std::to_string(m_oRows.size()) + " rows");
    }
    return *m_oRows[a_uiPosition];
}

const Row& Table::getRow(const std::string& a_strColumn, const std::string& a_strKey) const
{
    const std::size_t uiColumn = requireColumn(*m_pSchema, a_strColumn);
    const Row* pRow = find(uiColumn, a_strKey);
    if (pRow == nullptr)
    {
        throw Refusal(wire::Result::NoSuchRow,
                      "table " + m_pSchema->m_strName + " has no row with " +
                          describeKey(*m_pSchema, uiColumn, a_strKey));
    }
    return *pRow;
}

const Row* Table::find(std::size_t a_uiColumn, const std::string& a_strKey) const
{
    if (m_pSchema->m_oColumns[a_uiColumn].m_bUnique)
    {
        const auto itKey = m_oIndex[a_uiColumn].find(a_strKey);
        return itKey != m_oIndex[a_uiColumn].end() ? itKey->second.get() : nullptr;
    }
    const auto itRow =
        std::find_if(m_oRows.begin(),
                     m_oRows.end(),
                     [&](const RowPtr& a_pRow) { return a_pRow->m_oCells[a_uiColumn].getText() == a_strKey; });
    return itRow != m_oRows.end() ? itRow->get() : nullptr;
}

void Table::insert(const korrin::ValueList& a_oValues)
{
    checkMayGrowOrShrink();
    Cells oCells = makeDefaults(*m_pSchema);
    assign(*m_pSchema, oCells, a_oValues);
    if (!a_oValues.hasValue(m_pSchema->m_oColumns[g_uiIdColumn].m_strName))
    {
        oCells[g_uiIdColumn] = platform::integer(makeId());
    }
    checkKeys(oCells, nullptr);
    checkRoom(oCells, nullptr);
    append(std::make_shared<const Row>(Row{m_uiNextSequence, std::move(oCells)}));
}

void Table::update(const std::string& a_strColumn, const std::string& a_strKey, const korrin::ValueList& a_oValues)
{
    const Row& oOld = getRow(a_strColumn, a_strKey);
    Cells oCells = oOld.m_oCells;
    assign(*m_pSchema, oCells, a_oValues);
    if (oCells[g_uiIdColumn] != oOld.m_oCells[g_uiIdColumn])
    {
        throw Refusal(wire::Result::BadRequest,
                      "the Id of a row cannot be changed; insert a new row into table " + m_pSchema->m_strName +
                          " and delete this one");
    }
    checkKeys(oCells, &oOld);
    checkRoom(oCells, &oOld);
    RowPtr& pSlot = m_oRows[getPosition(oOld)];
    const RowPtr pOld = pSlot; // keeps oOld alive
    removeKeys(*pOld);
    pSlot = std::make_shared<const Row>(Row{pOld->m_uiSequence, std::move(oCells)});
    addKeys(pSlot);
}

void Table::erase(std::size_t a_uiPosition)
{
    checkMayGrowOrShrink();
    removeKeys(getRow(a_uiPosition));
    m_oRows.erase(m_oRows.begin() + static_cast<std::ptrdiff_t>(a_uiPosition));
}

void Table::erase(const std::string& a_strColumn, const std::string& a_strKey)
{
    checkMayGrowOrShrink();
    erase(getPosition(getRow(a_strColumn, a_strKey)));
}

bool Table::holdsSame(const Table& a_oOther) const
{
    return std::equal(m_oRows.begin(),
                      m_oRows.end(),
                      a_oOther.m_oRows.begin(),
                      a_oOther.m_oRows.end(),
                      [](const RowPtr& a_pOne, const RowPtr& a_pTwo)
                      { return a_pOne == a_pTwo || a_pOne->m_oCells == a_pTwo->m_oCells; });
}

std::uint64_t Table::getDigest() const
{
    std::uint64_t uiDigest = s_uiDigestOfNothing;
    for (const RowPtr& pRow : m_oRows)
    {
        for (const korrin::Value& oValue : pRow->m_oCells)
        {
            const std::string& strText = oValue.getText();
            mix(uiDigest, strText);
            mix(uiDigest, ":" + std::to_string(strText.size()));
        }
    }
    return uiDigest;
}

std::size_t Table::getPosition(const Row& a_oRow) const
{
    const auto it = std::lower_bound(m_oRows.begin(),
                                     m_oRows.end(),
                                     a_oRow.m_uiSequence,
                                     [](const RowPtr& a_pRow, std::uint64_t a_uiSequence)
                                     { return a_pRow->m_uiSequence < a_uiSequence; });
    return static_cast<std::size_t>(it - m_oRows.begin());
}

int Table::makeId() const
{
    if (m_iHighestId < std::numeric_limits<int>::max())
    {
        return m_iHighestId + 1;
    }
    // Someone chose the highest number there is: take the lowest that is free. A table is never full of them.
    int iId = 1;
    while (find(g_uiIdColumn, std::to_string(iId)) != nullptr)
    {
        ++iId;
    }
    return iId;
}

void Table::checkKeys(const Cells& a_oCells, const Row* a_pReplaced) const
{
    for (std::size_t uiColumn = 0; uiColumn < a_oCells.size(); ++uiColumn)
    {
        if (!m_pSchema->m_oColumns[uiColumn].m_bUnique)
        {
            continue;
        }
        const std::string& strKey = a_oCells[uiColumn].getText();
        const Row* pHolder = find(uiColumn, strKey);
        if (pHolder != nullptr && pHolder != a_pReplaced)
        {
            throw Refusal(wire::Result::DuplicateKey,
                          "table " + m_pSchema->m_strName + " already has a row with " +
                              describeKey(*m_pSchema, uiColumn, strKey));
        }
    }
}

void Table::checkRoom(const Cells& a_oCells, const Row* a_pReplaced) const
{
    const std::size_t uiRows = m_oRows.size() + (a_pReplaced == nullptr ? 1 : 0);
    const std::size_t uiFreed = a_pReplaced == nullptr ? 0 : getCost(a_pReplaced->m_oCells);
    if (uiRows > g_uiMaxRows || m_uiCost - uiFreed + getCost(a_oCells) > g_uiMaxTableCost)
    {
        throw Refusal(wire::Result::TooLarge,
                      "table " + m_pSchema->m_strName + " is full (" + std::to_string(m_oRows.size()) + " rows, " +
                          std::to_string(m_uiCost) + " bytes); delete rows first");
    }
}

void Table::checkMayGrowOrShrink() const
{
    if (m_pSchema->m_bFixedRow)
    {
        throw Refusal(wire::Result::NotSupported,
                      "table " + m_pSchema->m_strName +
                          " always has exactly one row, Id 1; it can be changed, not added to or deleted");
    }
}

void Table::append(RowPtr a_pRow)
{
    m_oRows.push_back(std::move(a_pRow));
    const Row& oRow = *m_oRows.back();
    addKeys(m_oRows.back());
    m_uiNextSequence = std::max(m_uiNextSequence, oRow.m_uiSequence + 1);
    m_iHighestId = std::max(m_iHighestId, oRow.m_oCells[g_uiIdColumn].getInteger());
}

void Table::addKeys(const RowPtr& a_pRow)
{
    for (std::size_t uiColumn = 0; uiColumn < m_oIndex.size(); ++uiColumn)
    {
        if (m_pSchema->m_oColumns[uiColumn].m_bUnique)
        {
            m_oIndex[uiColumn].emplace(a_pRow->m_oCells[uiColumn].getText(), a_pRow);
        }
    }
    m_uiCost += getCost(a_pRow->m_oCells);
}

void Table::removeKeys(const Row& a_oRow)
{
    m_uiCost -= getCost(a_oRow.m_oCells);
    for (std::size_t uiColumn = 0; uiColumn < m_oIndex.size(); ++uiColumn)
    {
        if (m_pSchema->m_oColumns[uiColumn].m_bUnique)
        {
            m_oIndex[uiColumn].erase(a_oRow.m_oCells[uiColumn].getText());
        }
    }
}

} // namespace cfgserver
