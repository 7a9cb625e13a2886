#include "cfgserver/database.h"

#include "cfgserver/databasefile.h"
#include "cfgserver/refusal.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <sqlite3.h>
#include <stdexcept>

namespace cfgserver
{

namespace
{

// The SQL of one table. Names come from the schema alone; everything else is bound, never put into a statement. The
// row's sequence is the primary key "_seq".

std::string name(const std::string& a_strName)
{
    return "\"" + a_strName + "\"";
}

bool isText(const Column& a_oColumn)
{
    return a_oColumn.m_oDefault.getType() == korrin::eValueText;
}

std::string declare(const Column& a_oColumn)
{
    return name(a_oColumn.m_strName) + (isText(a_oColumn) ? " TEXT" : " INTEGER");
}

std::string join(const TableSchema& a_oSchema, const std::function<std::string(const Column&)>& a_oMakeItem)
{
    std::string strList;
    for (const Column& oColumn : a_oSchema.m_oColumns)
    {
        strList += ", " + a_oMakeItem(oColumn);
    }
    return strList;
}

std::string nameOf(const Column& a_oColumn)
{
    return name(a_oColumn.m_strName);
}

/// Binds sequence and values to the parameters 1 to n+1.
void writeRow(SQLite::Database& a_oDatabase, const std::string& a_strQuery, const Row& a_oRow)
{
    SQLite::Statement oStatement(a_oDatabase, a_strQuery);
    oStatement.bind(1, static_cast<std::int64_t>(a_oRow.m_uiSequence));
    for (std::size_t uiColumn = 0; uiColumn < a_oRow.m_oCells.size(); ++uiColumn)
    {
        const int iIndex = static_cast<int>(uiColumn) + 2;
        const korrin::Value& oValue = a_oRow.m_oCells[uiColumn];
        if (oValue.getType() == korrin::eValueText)
        {
            oStatement.bindNoCopy(iIndex, oValue.getText());
        }
        else
        {
            oStatement.bind(iIndex, oValue.getInteger());
        }
    }
    oStatement.exec();
}

korrin::Value readValue(const TableSchema& a_oSchema, const Column& a_oColumn, const SQLite::Column& a_oStored)
{
    if (a_oStored.isNull())
    {
        return a_oColumn.m_oDefault;
    }
    if (a_oStored.isText() && isText(a_oColumn))
    {
        return {korrin::eValueText, a_oStored.getString()};
    }
    const std::int64_t iValue = a_oStored.getInt64();
    const bool bFits = iValue >= std::numeric_limits<int>::min() && iValue <= std::numeric_limits<int>::max();
    checkType(a_oSchema, a_oColumn, a_oStored.isInteger() && bFits ? korrin::eValueInteger : korrin::eValueNull);
    return {korrin::eValueInteger, static_cast<int>(iValue)};
}

/// Creates the table, or adds the columns that it lacks.
void createTable(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema)
{
    a_oDatabase.exec("CREATE TABLE IF NOT EXISTS " + name(a_oSchema.m_strName) + " (_seq INTEGER PRIMARY KEY" +
                     join(a_oSchema, declare) + ")");
    std::set<std::string> oPresent;
    SQLite::Statement oColumns(a_oDatabase, "SELECT name FROM pragma_table_info(?)");
    oColumns.bind(1, a_oSchema.m_strName);
    while (oColumns.executeStep())
    {
        oPresent.insert(oColumns.getColumn(0).getString());
    }
    for (const Column& oColumn : a_oSchema.m_oColumns)
    {
        if (oPresent.count(oColumn.m_strName) == 0)
        {
            a_oDatabase.exec("ALTER TABLE " + name(a_oSchema.m_strName) + " ADD COLUMN " + declare(oColumn));
        }
    }
}

/// All rows in order; a value that was never written is the column's default. Throws Refusal for a value of
/// another type than its column's.
std::vector<RowPtr> readRows(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema)
{
    std::vector<RowPtr> oRows;
    SQLite::Statement oStatement(
        a_oDatabase, "SELECT _seq" + join(a_oSchema, nameOf) + " FROM " + name(a_oSchema.m_strName) + " ORDER BY _seq");
    while (oStatement.executeStep())
    {
        Row oRow{static_cast<std::uint64_t>(oStatement.getColumn(0).getInt64()), {}};
        for (std::size_t uiColumn = 0; uiColumn < a_oSchema.m_oColumns.size(); ++uiColumn)
        {
            const SQLite::Column oStored = oStatement.getColumn(static_cast<int>(uiColumn) + 1);
            oRow.m_oCells.push_back(readValue(a_oSchema, a_oSchema.m_oColumns[uiColumn], oStored));
        }
        oRows.push_back(std::make_shared<const Row>(std::move(oRow)));
    }
    return oRows;
}

void insertRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow)
{
    writeRow(a_oDatabase,
             "INSERT INTO " + name(a_oSchema.m_strName) + " (_seq" + join(a_oSchema, nameOf) + ") VALUES (?" +
                 join(a_oSchema, [](const Column&) { return "?"; }) + ")",
             a_oRow);
}

void updateRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow)
{
    writeRow(a_oDatabase,
             "UPDATE " + name(a_oSchema.m_strName) + " SET _seq=?1" +
                 join(a_oSchema, [](const Column& a_oColumn) { return nameOf(a_oColumn) + "=?"; }) + " WHERE _seq=?1",
             a_oRow);
}

void deleteRow(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, const Row& a_oRow)
{
    SQLite::Statement oStatement(a_oDatabase, "DELETE FROM " + name(a_oSchema.m_strName) + " WHERE _seq=?");
    oStatement.bind(1, static_cast<std::int64_t>(a_oRow.m_uiSequence));
    oStatement.exec();
}

/// Keeps the highest Id that each table ever had, for tables whose row with that Id is gone.
void createHighestIds(SQLite::Database& a_oDatabase)
{
    a_oDatabase.exec("CREATE TABLE IF NOT EXISTS _highest (name TEXT PRIMARY KEY, id INTEGER) WITHOUT ROWID");
}

/// 0 when nothing is stored.
int readHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema)
{
    SQLite::Statement oStatement(a_oDatabase, "SELECT id FROM _highest WHERE name=?");
    oStatement.bind(1, a_oSchema.m_strName);
    const std::int64_t iId = oStatement.executeStep() ? oStatement.getColumn(0).getInt64() : 0;
    return static_cast<int>(std::clamp<std::int64_t>(iId, 0, std::numeric_limits<int>::max()));
}

void storeHighestId(SQLite::Database& a_oDatabase, const TableSchema& a_oSchema, int a_iId)
{
    SQLite::Statement oStatement(a_oDatabase, "INSERT OR REPLACE INTO _highest (name, id) VALUES (?, ?)");
    oStatement.bind(1, a_oSchema.m_strName);
    oStatement.bind(2, a_iId);
    oStatement.exec();
}

} // namespace

EKept keptOf(const TableSchema& a_oSchema)
{
    if (a_oSchema.m_bComputed)
    {
        return EKept::eNotAtAll;
    }
    return a_oSchema.m_bVolatile ? EKept::eUntilReboot : EKept::eForGood;
}

Database::Database(const std::string& a_strPath, EKept a_eKept)
    : m_strPath(makeDatabaseFile(a_strPath)), m_eKept(a_eKept)
{
    try
    {
        m_pDatabase = openDatabase(m_strPath);
        if (m_eKept == EKept::eUntilReboot)
        {
            m_pDatabase->exec("PRAGMA synchronous=OFF; PRAGMA wal_autocheckpoint=64; PRAGMA journal_size_limit=65536");
        }
        createMissing();
    }
    catch (const SQLite::Exception& oError)
    {
        refuse(m_strPath, oError.getErrorCode(), oError.what());
    }
}

void Database::accept()
{
    keepLogOnClose(*m_pDatabase, false);
}

void Database::createMissing()
{
    SQLite::Transaction oTransaction(*m_pDatabase);
    // A version that needs more than new tables and columns converts the old ones here, by user_version.
    for (const TableSchema& oSchema : getSchema())
    {
        if (keptOf(oSchema) == m_eKept)
        {
            createTable(*m_pDatabase, oSchema);
        }
    }
    createHighestIds(*m_pDatabase);
    if (m_pDatabase->execAndGet("PRAGMA user_version").getInt() != g_iSchemaVersion)
    {
        m_pDatabase->exec("PRAGMA application_id=" + std::to_string(g_iApplicationId));
        m_pDatabase->exec("PRAGMA user_version=" + std::to_string(g_iSchemaVersion));
    }
    oTransaction.commit();
}

Table Database::load(const TableSchema& a_oSchema)
{
    try
    {
        std::vector<RowPtr> oRows = readRows(*m_pDatabase, a_oSchema);
        if (oRows.empty() && a_oSchema.m_bFixedRow)
        {
            Table oDefault(a_oSchema);
            insertRow(*m_pDatabase, a_oSchema, oDefault.getRow(0));
            return oDefault;
        }
        return Table(a_oSchema, std::move(oRows), readHighestId(*m_pDatabase, a_oSchema));
    }
    catch (const SQLite::Exception& oError)
    {
        refuse(m_strPath, oError.getErrorCode(), oError.what());
    }
    catch (const Refusal& oError)
    {
        throw std::runtime_error("database file " + m_strPath + ": " + oError.what());
    }
}

void Database::save(const std::vector<TableChange>& a_oChanges)
{
    if (a_oChanges.empty())
    {
        return;
    }
    try
    {
        SQLite::Transaction oTransaction(*m_pDatabase); // rolled back unless committed
        for (const TableChange& oChange : a_oChanges)
        {
            writeRows(oChange);
            writeHighestId(oChange);
        }
        oTransaction.commit();
    }
    catch (const SQLite::Exception& oError)
    {
        const std::string strReason = explain(m_strPath, oError.getErrorCode(), oError.what());
        if (oError.getErrorCode() == SQLITE_IOERR)
        {
            overwriteRefused();
        }
        throw Refusal(wire::Result::StorageFailed, strReason + "; nothing was written");
    }
}

void Database::overwriteRefused()
{
    // A commit that failed while waiting for the disk is complete in the log, and the next start would take it for
    // valid. A change without effect replaces it, if the disk can still be written.
    static_cast<void>(m_pDatabase->tryExec("PRAGMA user_version=" + std::to_string(g_iSchemaVersion)));
}

void Database::writeRows(const TableChange& a_oChange)
{
    // Both sides ascend by sequence: one walk finds deleted, new and changed rows.
    const TableSchema& oSchema = a_oChange.m_oAfter.getSchema();
    auto itBefore = a_oChange.m_oBefore.getRows().begin();
    const auto itEnd = a_oChange.m_oBefore.getRows().end();
    for (const RowPtr& pRow : a_oChange.m_oAfter.getRows())
    {
        for (; itBefore != itEnd && (*itBefore)->m_uiSequence < pRow->m_uiSequence; ++itBefore)
        {
            deleteRow(*m_pDatabase, oSchema, **itBefore);
        }
        if (itBefore == itEnd || (*itBefore)->m_uiSequence != pRow->m_uiSequence)
        {
            insertRow(*m_pDatabase, oSchema, *pRow);
            continue;
        }
        if (*itBefore != pRow && (*itBefore)->m_oCells != pRow->m_oCells)
        {
            updateRow(*m_pDatabase, oSchema, *pRow);
        }
        ++itBefore;
    }
    for (; itBefore != itEnd; ++itBefore)
    {
        deleteRow(*m_pDatabase, oSchema, **itBefore);
    }
}

void Database::writeHighestId(const TableChange& a_oChange)
{
    // While the row exists, its Id needs no write of its own: an outcome per try is wear enough for flash.
    const Table& oAfter = a_oChange.m_oAfter;
    const Table& oBefore = a_oChange.m_oBefore;
    const bool bNew = oAfter.getHighestId() != oBefore.getHighestId();
    if (!oAfter.holdsHighestId() && (bNew || oBefore.holdsHighestId()))
    {
        storeHighestId(*m_pDatabase, oAfter.getSchema(), oAfter.getHighestId());
    }
}

} // namespace cfgserver
