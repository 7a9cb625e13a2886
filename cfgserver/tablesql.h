#pragma once

#include "cfgserver/row.h"

#include <SQLiteCpp/Database.h>

#include <vector>

namespace cfgserver
{

// The SQL of one table. Throws SQLite::Exception.

/// Creates the table, or adds the columns that it lacks.
void createTable(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);

/// All rows in order; a value that was never written is the column's default. Throws Refusal for a value of
/// another type than its column's.
[[nodiscard]] std::vector<RowPtr> readRows(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);

void insertRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);
void updateRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);
void deleteRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);

/// Keeps the highest Id that each table ever had, for tables whose row with that Id is gone.
void createHighestIds(SQLite::Database& a_oDatabase);
/// 0 when nothing is stored.
[[nodiscard]] int readHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);
void storeHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, int a_iId);

/// Writes that take effect together or not at all. Unlike SQLite::Transaction it does not end the process when memory
/// is too short to roll back; the next one then rolls back first.
class SqlTransaction
{
public:
    explicit SqlTransaction(SQLite::Database& a_oDatabase);
    /// Rolls back unless committed.
    ~SqlTransaction();
    SqlTransaction(const SqlTransaction&) = delete;
    SqlTransaction& operator=(const SqlTransaction&) = delete;

    void commit();

private:
    void rollBack() noexcept;

    SQLite::Database& m_oDatabase;
};

} // namespace cfgserver
