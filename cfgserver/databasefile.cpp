#include "cfgserver/databasefile.h"

#include "platform/base/uniquefd.h"

#include <SQLiteCpp/Column.h>
#include <sqlite3.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

namespace
{

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
    // Every row is in memory already; no second copy in caches or temporary files.
    "PRAGMA cache_size=-512;"
    "PRAGMA temp_store=MEMORY;"
    // Nothing that the file itself contains is executed.
    "PRAGMA trusted_schema=OFF;"
    // What was deleted is overwritten: old passwords do not stay in the file.
    "PRAGMA secure_delete=ON;";

[[noreturn]] void fail(const std::string& a_strWhat, int a_iError)
{
    throw std::runtime_error(a_strWhat + ": " + std::generic_category().message(a_iError));
}

std::string resolveFolder(const std::string& a_strFolder)
{
    if (::mkdir(a_strFolder.c_str(), S_IRWXU) == 0)
    {
        syncFolder(a_strFolder + "/..");
    }
    else if (errno != EEXIST)
    {
        fail("cannot create database folder " + a_strFolder, errno);
    }
    std::error_code oError;
    std::string strResolved = std::filesystem::canonical(a_strFolder, oError).string();
    if (oError)
    {
        fail("cannot use database folder " + a_strFolder, oError.value());
    }
    // SQLite puts its log file next to the database.
    if (::faccessat(AT_FDCWD, strResolved.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
    {
        fail("cannot write to database folder " + a_strFolder, errno);
    }
    return strResolved;
}

/// False if the name exists already.
bool createFile(const std::string& a_strPath)
{
    const platform::UniqueFd oFile(
        ::open(a_strPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!oFile.isOpen() && errno != EEXIST)
    {
        fail("cannot create database file " + a_strPath, errno);
    }
    return oFile.isOpen();
}

/// Never opens the file: closing it again would drop the locks that SQLite may hold on it in this process.
void checkFile(const std::string& a_strPath)
{
    struct stat oStatus = {};
    if (::lstat(a_strPath.c_str(), &oStatus) != 0)
    {
        fail("cannot use database file " + a_strPath, errno);
    }
    if (!S_ISREG(oStatus.st_mode))
    {
        throw ForeignFile("database file " + a_strPath + " is not a regular file");
    }
    if (oStatus.st_uid != ::geteuid() && ::geteuid() != 0)
    {
        throw ForeignFile("database file " + a_strPath + " belongs to user " + std::to_string(oStatus.st_uid) +
                          ", this service runs as " + std::to_string(::geteuid()));
    }
    if (::faccessat(AT_FDCWD, a_strPath.c_str(), R_OK | W_OK, AT_EACCESS) != 0)
    {
        fail("cannot read and write database file " + a_strPath, errno);
    }
}

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

std::unique_ptr<SQLite::Database> openForWriting(const std::string& a_strPath)
{
    auto pDatabase = std::make_unique<SQLite::Database>(a_strPath, SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW);
    keepLogOnClose(*pDatabase, true);
    return pDatabase;
}

std::unique_ptr<SQLite::Database> openUnchanged(const std::string& a_strPath)
{
    if (!hasContent(a_strPath + "-wal") && !hasContent(a_strPath + "-journal"))
    {
        return std::make_unique<SQLite::Database>(makeUri(a_strPath),
                                                  SQLite::OPEN_READONLY | SQLite::OPEN_URI | SQLite::OPEN_NOFOLLOW);
    }
    // The file is complete only together with its log, which cannot be read without write permission.
    auto pDatabase = openForWriting(a_strPath);
    pDatabase->exec("PRAGMA query_only=ON; PRAGMA locking_mode=EXCLUSIVE"); // exclusive: no shared memory file
    return pDatabase;
}

int integerOf(SQLite::Database& a_oDatabase, const char* a_pQuery)
{
    return a_oDatabase.execAndGet(a_pQuery).getInt();
}

/// Changes neither the file nor its log, except that an interrupted write is rolled back.
void checkContent(const std::string& a_strPath)
{
    const std::unique_ptr<SQLite::Database> pDatabase = openUnchanged(a_strPath);
    pDatabase->exec("PRAGMA trusted_schema=OFF; PRAGMA cache_size=-512");
    const std::string strCheck = pDatabase->execAndGet("PRAGMA quick_check(1)").getString();
    if (strCheck != "ok")
    {
        refuse(a_strPath, SQLITE_CORRUPT, strCheck);
    }
    if (integerOf(*pDatabase, "SELECT count(*) FROM sqlite_master") != 0 &&
        integerOf(*pDatabase, "PRAGMA application_id") != g_iApplicationId)
    {
        throw ForeignFile("database file " + a_strPath + " belongs to another program; choose another file");
    }
    const int iVersion = integerOf(*pDatabase, "PRAGMA user_version");
    if (iVersion > g_iSchemaVersion)
    {
        throw std::runtime_error("database file " + a_strPath + " was written by a newer service (version " +
                                 std::to_string(iVersion) + ", this one supports " + std::to_string(g_iSchemaVersion) +
                                 "); run that one, or start with another file");
    }
}

/// Makes the file and its log accessible to the owner alone.
void makePrivate(const std::string& a_strPath)
{
    for (const std::string& strFile : {a_strPath, a_strPath + "-wal"})
    {
        struct stat oStatus = {};
        const bool bOpen = ::lstat(strFile.c_str(), &oStatus) == 0 && S_ISREG(oStatus.st_mode) &&
                           (oStatus.st_mode & (S_IRWXG | S_IRWXO)) != 0;
        if (bOpen && ::chmod(strFile.c_str(), S_IRUSR | S_IWUSR) != 0)
        {
            fail("cannot make database file " + strFile + " private", errno);
        }
    }
}

} // namespace

std::string makeDatabaseFile(const std::string& a_strPath)
{
    if (a_strPath == g_pMemoryDatabase)
    {
        return a_strPath;
    }
    const std::size_t uiSlash = a_strPath.rfind('/');
    const std::string strName = uiSlash == std::string::npos ? a_strPath : a_strPath.substr(uiSlash + 1);
    if (strName.empty())
    {
        throw std::runtime_error("database file '" + a_strPath + "' has no file name");
    }
    const std::string strFolder = uiSlash == std::string::npos ? "." : a_strPath.substr(0, uiSlash + 1);
    std::string strPath = resolveFolder(strFolder) + "/" + strName;
    if (!createFile(strPath))
    {
        checkFile(strPath);
    }
    return strPath;
}

void syncFolder(const std::string& a_strFolder) noexcept
{
    const platform::UniqueFd oFolder(::open(a_strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (oFolder.isOpen())
    {
        static_cast<void>(::fsync(oFolder.get()));
    }
}

std::string makeFileBeside(const std::string& a_strPath)
{
    const std::size_t uiSlash = a_strPath.rfind('/');
    std::string strFile = resolveFolder(a_strPath.substr(0, uiSlash + 1)) + a_strPath.substr(uiSlash) + ".XXXXXX";
    if (const platform::UniqueFd oFile(::mkostemp(strFile.data(), O_CLOEXEC)); !oFile.isOpen())
    {
        fail("cannot create database file " + strFile, errno);
    }
    return strFile;
}

std::unique_ptr<SQLite::Database> openDatabase(const std::string& a_strPath)
{
    if (a_strPath != g_pMemoryDatabase)
    {
        checkContent(a_strPath);
        makePrivate(a_strPath);
    }
    auto pDatabase = openForWriting(a_strPath);
    pDatabase->exec(s_pSettings);
    const std::string strMode = pDatabase->execAndGet("PRAGMA journal_mode=WAL").getString();
    if (strMode != "wal" && a_strPath != g_pMemoryDatabase)
    {
        throw std::runtime_error("database file " + a_strPath +
                                 ": its file system does not support a write-ahead log (only " + strMode +
                                 "); choose another folder");
    }
    return pDatabase;
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
        return strStart + " is damaged or not a database (" + a_strReason +
               "); move it and its -wal file away, then restore a saved copy or start with an empty one";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return strStart + " is used by another process (" + a_strReason + "); stop it first";
    default:
        return strStart + ": " + a_strReason;
    }
}

void refuse(const std::string& a_strPath, int a_iCode, const std::string& a_strReason)
{
    const std::string strText = explain(a_strPath, a_iCode, a_strReason);
    if (a_iCode == SQLITE_BUSY || a_iCode == SQLITE_LOCKED)
    {
        throw ForeignFile(strText);
    }
    throw std::runtime_error(strText);
}

} // namespace cfgserver
