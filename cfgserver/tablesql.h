#pragma once

#include "cfgserver/table.h"

#include <SQLiteCpp/Database.h>

#include <vector>

/// The SQL of one table. Names come from the schema alone; everything else is bound, never put into a statement. The
/// row's sequence is the primary key "_seq". All throw SQLite::Exception.
namespace cfgserver
{

/// Creates the table, or adds the columns that it lacks.
void createTable(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);

/// All rows in order; a value that was never written is the column's default. Throws Refusal for a value that doesn't
/// suit its column.
std::vector<RowPtr> readRows(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);

void insertRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);
void updateRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);
void deleteRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow);

/// Where the highest Id that each table ever had is kept, for tables whose row of that Id is gone.
void createHighestIds(SQLite::Database& a_oDatabase);
/// 0 when nothing is stored.
int readHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema);
void storeHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, int a_iId);

} // namespace cfgserver
