#include "cfgserver/database.h"

#include "cfgserver/databasefile.h"
#include "cfgserver/refusal.h"
#include "cfgserver/tablesql.h"
#include "platform/common/log.h"

#include <SQLiteCpp/Column.h>
#include <sqlite3.h>
#include <system_error>
#include <unistd.h>

#include <stdexcept>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "database";

/// Why the log could not be written, as the system said; 0 if it did not.
int systemErrorOf(const SQLite::Database& a_oDatabase)
{
    int iError = 0;
    sqlite3_file* pLog = nullptr;
    ::sqlite3_file_control(a_oDatabase.getHandle(), "main", SQLITE_FCNTL_JOURNAL_POINTER, static_cast<void*>(&pLog));
    if (pLog != nullptr && pLog->pMethods != nullptr)
    {
        pLog->pMethods->xFileControl(pLog, SQLITE_FCNTL_LAST_ERRNO, &iError);
    }
    return iError;
}

std::string reasonOf(const SQLite::Exception& a_oError, const SQLite::Database& a_oDatabase)
{
    const int iSystem = a_oError.getErrorCode() == SQLITE_IOERR ? systemErrorOf(a_oDatabase) : 0;
    return a_oError.what() + (iSystem != 0 ? " (" + std::generic_category().message(iSystem) + ")" : "");
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
        open();
    }
    catch (const SQLite::Exception& oError)
    {
        refuse(m_strPath, oError.getErrorCode(), oError.what());
    }
}

Database::~Database()
{
    if (!isInPlace())
    {
        leavePlace();
    }
}

void Database::open()
{
    m_pDatabase = openDatabase(m_strPath);
    if (m_eKept == EKept::eUntilReboot)
    {
        m_pDatabase->exec("PRAGMA synchronous=OFF; PRAGMA wal_autocheckpoint=64; PRAGMA journal_size_limit=65536");
    }
    createMissing();
    m_oPlace = DatabasePlace(m_strPath); // not emplaced: without memory the former one must stay
}

void Database::accept()
{
    keepLogOnClose(*m_pDatabase, false);
}

void Database::createMissing()
{
    SqlTransaction oTransaction(*m_pDatabase);
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

bool Database::isInPlace() const noexcept
{
    return m_pDatabase && m_oPlace && m_oPlace->look() == DatabasePlace::State::InPlace;
}

void Database::save(const TableChanges& a_oChanges)
{
    if (a_oChanges.m_oDifferent.empty())
    {
        return;
    }
    try
    {
        if (isInPlace())
        {
            return update(a_oChanges.m_oDifferent);
        }
        leavePlace();
        requirePlace();
        writeAnew(a_oChanges.m_oAll);
    }
    catch (const SQLite::Exception& oError)
    {
        const std::string strReason = explain(m_strPath, oError.getErrorCode(), oError.what());
        throw Refusal(wire::Result::StorageFailed, strReason + "; nothing was written");
    }
    catch (const std::runtime_error& oError)
    {
        throw Refusal(wire::Result::StorageFailed, std::string(oError.what()) + "; nothing was written");
    }
}

void Database::update(const std::vector<TableChange>& a_oChanges)
{
    try
    {
        SqlTransaction oTransaction(*m_pDatabase); // rolled back unless committed
        for (const TableChange& oChange : a_oChanges)
        {
            writeRows(oChange);
            writeHighestId(oChange);
        }
        oTransaction.commit();
    }
    catch (const SQLite::Exception& oError)
    {
        const std::string strReason = explain(m_strPath, oError.getErrorCode(), reasonOf(oError, *m_pDatabase));
        if (oError.getErrorCode() == SQLITE_IOERR)
        {
            overwriteRefused();
        }
        throw std::runtime_error(strReason);
    }
}

void Database::requirePlace() const
{
    switch (m_oPlace->look())
    {
    case DatabasePlace::State::Taken:
        throw std::runtime_error("database file " + m_strPath +
                                 ": another file was put in its place while it was in use; restart the service to use "
                                 "that one, or move it away to keep what the service has");
    case DatabasePlace::State::OtherDisk:
        throw std::runtime_error("database file " + m_strPath +
                                 ": its file system was replaced while it was in use; mount that one again, or restart "
                                 "the service to begin with what is there");
    default:
        break;
    }
}

/// A file that was moved away is made complete, and what is put in its place is not mixed with its log.
void Database::leavePlace() const noexcept
{
    if (m_pDatabase && m_oPlace)
    {
        keepLogOnClose(*m_pDatabase, true);
        static_cast<void>(m_pDatabase->tryExec("PRAGMA wal_checkpoint(TRUNCATE)"));
        m_oPlace->removeOurLog();
    }
}

void Database::writeAnew(const std::vector<const Table*>& a_oTables)
{
    const std::string strNew = makeFileBeside(m_strPath);
    const std::string strNewLog = strNew + "-wal";
    try
    {
        Database(strNew, m_eKept).fill(a_oTables);
        m_oPlace->put(strNew);
    }
    catch (...)
    {
        ::unlink(strNew.c_str());
        ::unlink(strNewLog.c_str());
        throw;
    }
    LOG_TO(VADRO_Sysloglevel_registerModul("cfgserver"),
           warning,
           "Database file %s was deleted or moved away while it was in use: everything is written to a new one",
           m_strPath.c_str());
    m_pDatabase.reset();
    try
    {
        open();
        accept();
    }
    catch (const std::exception&) // what was to be written is on the disk, and the next commit writes it anew again
    {
        m_pDatabase.reset();
    }
}

/// Into a new file, which then is complete without its log.
void Database::fill(const std::vector<const Table*>& a_oTables)
{
    SqlTransaction oTransaction(*m_pDatabase);
    for (const Table* pTable : a_oTables)
    {
        for (const RowPtr& pRow : pTable->getRows())
        {
            insertRow(*m_pDatabase, pTable->getSchema(), *pRow);
        }
        if (!pTable->holdsHighestId())
        {
            storeHighestId(*m_pDatabase, pTable->getSchema(), pTable->getHighestId());
        }
    }
    oTransaction.commit();
    if (m_pDatabase->execAndGet("PRAGMA wal_checkpoint(TRUNCATE)").getInt() != 0)
    {
        throw std::runtime_error("database file " + m_strPath + ": its log could not be written into it");
    }
    accept();
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
