#include "cfgserver/databasecheck.h"

#include <SQLiteCpp/Column.h>
#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <sys/stat.h>

namespace cfgserver
{

namespace
{

bool hasContent(const std::string& a_strFile)
{
    struct stat oStatus = {};
    return ::stat(a_strFile.c_str(), &oStatus) == 0 && oStatus.st_size > 0;
}

std::string makeUri(const std::string& a_strPath)
{
    std::string strUri = "file:";
    for (const char cByte : a_strPath)
    {
        // What ends a path or begins an escape.
        strUri += cByte == '%' ? "%25" : cByte == '?' ? "%3f" : cByte == '#' ? "%23" : std::string(1, cByte);
    }
    return strUri + "?immutable=1";
}

std::unique_ptr<SQLite::Database> openUnchanged(const std::string& a_strPath)
{
    if (!hasContent(a_strPath + "-wal") && !hasContent(a_strPath + "-journal"))
    {
        return std::make_unique<SQLite::Database>(makeUri(a_strPath),
                                                  SQLite::OPEN_READONLY | SQLite::OPEN_URI | SQLite::OPEN_NOFOLLOW);
    }
    // The file tells the truth only together with its log, which can't be read without the right to write.
    auto pDatabase = std::make_unique<SQLite::Database>(a_strPath, SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW);
    keepLogOnClose(*pDatabase, true);
    pDatabase->exec("PRAGMA query_only=ON; PRAGMA locking_mode=EXCLUSIVE"); // exclusive: no shared memory file
    return pDatabase;
}

int integerOf(SQLite::Database& a_oDatabase, const char* a_pQuery)
{
    return a_oDatabase.execAndGet(a_pQuery).getInt();
}

} // namespace

void checkDatabase(const std::string& a_strPath)
{
    const std::unique_ptr<SQLite::Database> pDatabase = openUnchanged(a_strPath);
    pDatabase->exec("PRAGMA trusted_schema=OFF; PRAGMA cache_size=-512");
    const std::string strCheck = pDatabase->execAndGet("PRAGMA quick_check(1)").getString();
    if (strCheck != "ok")
    {
        throw std::runtime_error(explain(a_strPath, SQLITE_CORRUPT, strCheck));
    }
    if (integerOf(*pDatabase, "SELECT count(*) FROM sqlite_master") != 0 &&
        integerOf(*pDatabase, "PRAGMA application_id") != g_iApplicationId)
    {
        throw std::runtime_error("database file " + a_strPath + " belongs to another program; choose another file");
    }
    const int iVersion = integerOf(*pDatabase, "PRAGMA user_version");
    if (iVersion > g_iSchemaVersion)
    {
        throw std::runtime_error("database file " + a_strPath + " was written by a newer service (version " +
                                 std::to_string(iVersion) + ", this one knows " + std::to_string(g_iSchemaVersion) +
                                 "); run that one, or start with another file");
    }
}

void keepLogOnClose(const SQLite::Database& a_oDatabase, bool a_bKeep)
{
    ::sqlite3_db_config(a_oDatabase.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, a_bKeep ? 1 : 0, nullptr);
}

std::string explain(const std::string& a_strPath, int a_iCode, const std::string& a_strReason)
{
    const std::string strStart = "database file " + a_strPath;
    switch (a_iCode)
    {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return strStart + " is damaged or no database (" + a_strReason +
               "); move it and its -wal file away, then put a saved copy in its place or start with an empty one";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return strStart + " is used by another process (" + a_strReason + "); stop that one first";
    default:
        return strStart + ": " + a_strReason;
    }
}

} // namespace cfgserver
