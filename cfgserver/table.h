#pragma once

#include "cfgserver/row.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace cfgserver
{

/// Limits of one table: rows, and bytes as getCost() counts them.
constexpr std::size_t g_uiMaxRows = 100000;
constexpr std::size_t g_uiMaxTableCost = 16UL * 1024UL * 1024UL;

/// The rows of one table in their order. A value: copies share the rows, but have their own list of them and their own
/// index of each unique column, which costs an allocation per row and index. Not synchronised.
///
/// Positions and unique columns are found in constant time, other columns by a search in table order. Every change
/// is checked completely before it is made; throws Refusal if it is not made.
class Table
{
public:
    /// An empty table, or one with its fixed row and its defaults. The schema outlives the table.
    explicit Table(const TableSchema& a_oSchema);
    /// A table of rows that were stored; throws Refusal if two share a key or a fixed row is not alone. No Id up to
    /// a_iHighestId is used again.
    Table(const TableSchema& a_oSchema, std::vector<RowPtr> a_oRows, int a_iHighestId);

    [[nodiscard]] const TableSchema& getSchema() const { return *m_pSchema; }
    [[nodiscard]] const std::vector<RowPtr>& getRows() const { return m_oRows; }
    /// Throws Refusal (NoSuchRow) beyond the end.
    [[nodiscard]] const Row& getRow(std::size_t a_uiPosition) const;
    /// The first row whose column holds a_strKey as text; throws Refusal (UnknownColumn, NoSuchRow).
    [[nodiscard]] const Row& getRow(const std::string& a_strColumn, const std::string& a_strKey) const;

    /// Appends a row, with the next Id unless it names one. Ids of deleted rows are not used again.
    void insert(const korrin::ValueList& a_oValues);
    void update(const std::string& a_strColumn, const std::string& a_strKey, const korrin::ValueList& a_oValues);
    void erase(std::size_t a_uiPosition);
    void erase(const std::string& a_strColumn, const std::string& a_strKey);

    /// The highest Id that the table ever had; rows are given higher ones.
    [[nodiscard]] int getHighestId() const { return m_iHighestId; }
    [[nodiscard]] bool holdsHighestId() const { return find(g_uiIdColumn, std::to_string(m_iHighestId)) != nullptr; }

    /// Same values in the same order.
    [[nodiscard]] bool holdsSame(const Table& a_oOther) const;
    /// A hash of the values in their order. Takes time in proportion to their bytes.
    [[nodiscard]] std::uint64_t getDigest() const;

private:
    using Index = std::unordered_map<std::string, RowPtr>;

    [[nodiscard]] const Row* find(std::size_t a_uiColumn, const std::string& a_strKey) const;
    [[nodiscard]] std::size_t getPosition(const Row& a_oRow) const;
    [[nodiscard]] int makeId() const;
    void checkKeys(const Cells& a_oCells, const Row* a_pReplaced) const;
    void checkRoom(const Cells& a_oCells, const Row* a_pReplaced) const;
    void checkMayGrowOrShrink() const;
    void append(RowPtr a_pRow);
    void addKeys(const RowPtr& a_pRow);
    void removeKeys(const Row& a_oRow);

    const TableSchema* m_pSchema;
    std::vector<RowPtr> m_oRows; // sequences ascend
    std::vector<Index> m_oIndex; // one per column, empty where it is not unique
    std::uint64_t m_uiNextSequence = 1;
    int m_iHighestId = 0;
    std::size_t m_uiCost = 0;
};

} // namespace cfgserver
