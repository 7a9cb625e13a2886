#include "cfgserver/tablesql.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <sqlite3.h>

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

} // namespace

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

void createHighestIds(SQLite::Database& a_oDatabase)
{
    a_oDatabase.exec("CREATE TABLE IF NOT EXISTS _highest (name TEXT PRIMARY KEY, id INTEGER) WITHOUT ROWID");
}

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

SqlTransaction::SqlTransaction(SQLite::Database& a_oDatabase) : m_oDatabase(a_oDatabase)
{
    rollBack();
    m_oDatabase.exec("BEGIN");
}

SqlTransaction::~SqlTransaction()
{
    rollBack();
}

void SqlTransaction::commit()
{
    m_oDatabase.exec("COMMIT");
}

void SqlTransaction::rollBack() noexcept
{
    if (::sqlite3_get_autocommit(m_oDatabase.getHandle()) == 0)
    {
        ::sqlite3_exec(m_oDatabase.getHandle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

} // namespace cfgserver
