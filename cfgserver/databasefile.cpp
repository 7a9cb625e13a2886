#include "cfgserver/databasefile.h"

#include "platform/base/uniquefd.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

namespace
{

[[noreturn]] void fail(const std::string& a_strWhat, int a_iError)
{
    throw std::runtime_error(a_strWhat + ": " + std::generic_category().message(a_iError));
}

/// So that a new entry in it survives a loss of power. Some file systems refuse, and then nothing better can be done.
void syncFolder(const std::string& a_strFolder)
{
    const platform::UniqueFd oFolder(::open(a_strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (oFolder.isOpen())
    {
        static_cast<void>(::fsync(oFolder.get()));
    }
}

std::string resolveFolder(const std::string& a_strFolder)
{
    if (::mkdir(a_strFolder.c_str(), S_IRWXU) == 0)
    {
        syncFolder(a_strFolder + "/..");
    }
    else if (errno != EEXIST)
    {
        fail("can't create database folder " + a_strFolder, errno);
    }
    const std::unique_ptr<char, decltype(&std::free)> pResolved(::realpath(a_strFolder.c_str(), nullptr), &std::free);
    if (pResolved == nullptr)
    {
        fail("can't use database folder " + a_strFolder, errno);
    }
    // SQLite puts its log file next to the database.
    if (::faccessat(AT_FDCWD, pResolved.get(), W_OK | X_OK, AT_EACCESS) != 0)
    {
        fail("can't write to database folder " + a_strFolder, errno);
    }
    return pResolved.get();
}

/// False when there is already something of that name.
bool createFile(const std::string& a_strPath)
{
    const platform::UniqueFd oFile(
        ::open(a_strPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!oFile.isOpen() && errno != EEXIST)
    {
        fail("can't create database file " + a_strPath, errno);
    }
    return oFile.isOpen();
}

/// Never opens the file: closing it again would drop the locks that SQLite may hold on it in this process.
void checkFile(const std::string& a_strPath)
{
    struct stat oStatus = {};
    if (::lstat(a_strPath.c_str(), &oStatus) != 0)
    {
        fail("can't use database file " + a_strPath, errno);
    }
    if (!S_ISREG(oStatus.st_mode))
    {
        throw std::runtime_error("database file " + a_strPath + " is no regular file");
    }
    if (oStatus.st_uid != ::geteuid() && ::geteuid() != 0)
    {
        throw std::runtime_error("database file " + a_strPath + " belongs to user " + std::to_string(oStatus.st_uid) +
                                 ", this service runs as " + std::to_string(::geteuid()));
    }
    if (::faccessat(AT_FDCWD, a_strPath.c_str(), R_OK | W_OK, AT_EACCESS) != 0)
    {
        fail("can't read and write database file " + a_strPath, errno);
    }
}

} // namespace

std::string prepareDatabaseFile(const std::string& a_strPath)
{
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

void makePrivate(const std::string& a_strPath)
{
    for (const std::string& strFile : {a_strPath, a_strPath + "-wal"})
    {
        struct stat oStatus = {};
        const bool bOpen = ::lstat(strFile.c_str(), &oStatus) == 0 && S_ISREG(oStatus.st_mode) &&
                           (oStatus.st_mode & (S_IRWXG | S_IRWXO)) != 0;
        if (bOpen && ::chmod(strFile.c_str(), S_IRUSR | S_IWUSR) != 0)
        {
            fail("can't take access to database file " + strFile + " from others", errno);
        }
    }
}

} // namespace cfgserver
