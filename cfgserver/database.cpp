#include "cfgserver/database.h"

#include "cfgserver/databasefile.h"
#include "cfgserver/refusal.h"
#include "cfgserver/tablesql.h"

#include <SQLiteCpp/Transaction.h>

#include <sqlite3.h>
#include <stdexcept>

namespace cfgserver
{

namespace
{

constexpr const char* s_pMemory = ":memory:";

constexpr const char* s_pSettings =
    // Of a new file; an older one keeps its 4 KiB. What a commit changes is written in whole pages, and an outcome
    // changes some bytes in three to five of them.
    "PRAGMA page_size=1024;"
    // One process at a time, which also spares the shared memory file of the write-ahead log.
    "PRAGMA locking_mode=EXCLUSIVE;"
    // Wait for the disk at every commit: a router loses power without warning, and who was told "committed" relies on
    // it. With a write-ahead log that is one wait and one sequential write per commit, which flash likes.
    "PRAGMA synchronous=FULL;"
    // The log is written back into the file every 1 MiB and cut to that size, so that it never grows beyond.
    "PRAGMA wal_autocheckpoint=1024;"
    "PRAGMA journal_size_limit=1048576;"
    // Every row stands in memory already; no second copy in caches or temporary files.
    "PRAGMA cache_size=-512;"
    "PRAGMA temp_store=MEMORY;"
    // Nothing that the file itself brings along is run.
    "PRAGMA trusted_schema=OFF;"
    // What was deleted is overwritten: old passwords don't stay in the file.
    "PRAGMA secure_delete=ON;";

} // namespace

Database::Database(const std::string& a_strPath)
    : m_strPath(a_strPath == s_pMemory ? a_strPath : prepareDatabaseFile(a_strPath))
{
    try
    {
        m_pDatabase = std::make_unique<SQLite::Database>(m_strPath, SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW);
        keepLogOnClose(*m_pDatabase, true);
        configure();
        createMissing();
    }
    catch (const SQLite::Exception& oError)
    {
        throw std::runtime_error(explain(m_strPath, oError.getErrorCode(), oError.what()));
    }
}

void Database::accept()
{
    keepLogOnClose(*m_pDatabase, false);
}

void Database::configure()
{
    m_pDatabase->exec(s_pSettings);
    const std::string strMode = m_pDatabase->execAndGet("PRAGMA journal_mode=WAL").getString();
    if (strMode != "wal" && m_strPath != s_pMemory)
    {
        throw std::runtime_error("database file " + m_strPath +
                                 ": its file system does not support a write-ahead log (only " + strMode +
                                 "); choose another folder");
    }
}

void Database::createMissing()
{
    SQLite::Transaction oTransaction(*m_pDatabase);
    // A version that needs more than new tables and columns converts the old ones here, by user_version.
    for (const TableSchema& oSchema : getSchema())
    {
        if (!oSchema.m_bVolatile)
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
        throw std::runtime_error(explain(m_strPath, oError.getErrorCode(), oError.what()));
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
    // Failed while it waited for the disk, a commit is whole in the log, and the next start would take it for valid.
    // What changes nothing takes its place, as far as the disk can still be written.
    static_cast<void>(m_pDatabase->tryExec("PRAGMA user_version=" + std::to_string(g_iSchemaVersion)));
}

void Database::writeRows(const TableChange& a_oChange)
{
    // Both sides ascend by sequence: one walk finds what went, what came and what differs.
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
    // As long as the row stands there, the number needs no writing of its own: an outcome per try costs flash enough.
    const Table& oAfter = a_oChange.m_oAfter;
    const Table& oBefore = a_oChange.m_oBefore;
    const bool bNew = oAfter.getHighestId() != oBefore.getHighestId();
    if (!oAfter.holdsHighestId() && (bNew || oBefore.holdsHighestId()))
    {
        storeHighestId(*m_pDatabase, oAfter.getSchema(), oAfter.getHighestId());
    }
}

} // namespace cfgserver
