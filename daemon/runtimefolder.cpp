#include "daemon/runtimefolder.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace quorvad
{

namespace
{

constexpr char s_acPrefix[] = "quorvad-certificates.";
constexpr char s_acTemplate[] = "quorvad-certificates.XXXXXX";

std::string valueOf(const char* a_pVariable)
{
    const char* pValue = std::getenv(a_pVariable); // NOLINT(concurrency-mt-unsafe): no other thread yet
    return pValue != nullptr ? pValue : "";
}

/// Nobody else can put, rename or remove anything there.
bool isOursAlone(const std::string& a_strPlace)
{
    struct stat oStatus = {};
    return a_strPlace.compare(0, 1, "/") == 0 && stat(a_strPlace.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode) &&
           (oStatus.st_uid == 0 || oStatus.st_uid == geteuid()) && (oStatus.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Negative if somebody else has it or it is no folder of this user.
int lockFolder(const std::string& a_strPath)
{
    const int iFd = open(a_strPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat oOpened = {};
    struct stat oNow = {};
    if (iFd >= 0 && flock(iFd, LOCK_EX | LOCK_NB) == 0 && fstat(iFd, &oOpened) == 0 && oOpened.st_uid == geteuid() &&
        lstat(a_strPath.c_str(), &oNow) == 0 && oNow.st_ino == oOpened.st_ino)
    {
        return iFd;
    }
    if (iFd >= 0)
    {
        close(iFd);
    }
    return -1;
}

void remove(const std::string& a_strPath, int a_iLock)
{
    std::error_code oIgnored;
    std::filesystem::remove_all(a_strPath, oIgnored);
    close(a_iLock);
}

void removeLeftovers(const std::string& a_strPlace)
{
    std::error_code oError;
    for (std::filesystem::directory_iterator it(a_strPlace, oError); !oError && it != std::filesystem::end(it);
         it.increment(oError))
    {
        const std::string strName = it->path().filename().string();
        const bool bNamed =
            strName.size() == sizeof s_acTemplate - 1 && strName.compare(0, sizeof s_acPrefix - 1, s_acPrefix) == 0;
        const int iLock = bNamed ? lockFolder(it->path().string()) : -1;
        if (iLock >= 0)
        {
            remove(it->path().string(), iLock);
        }
    }
}

} // namespace

std::vector<std::string> RuntimeFolder::places()
{
    const std::string strService = valueOf("RUNTIME_DIRECTORY");
    return {strService.substr(0, strService.find(':')), "/run", valueOf("XDG_RUNTIME_DIR")};
}

RuntimeFolder::RuntimeFolder(const std::vector<std::string>& a_oPlaces)
{
    for (const std::string& strPlace : a_oPlaces)
    {
        if (isOursAlone(strPlace) && makeIn(strPlace))
        {
            return;
        }
    }
}

RuntimeFolder::~RuntimeFolder()
{
    if (!m_strPath.empty())
    {
        remove(m_strPath, m_iLock);
    }
}

bool RuntimeFolder::makeIn(const std::string& a_strPlace)
{
    removeLeftovers(a_strPlace);
    constexpr int iTries = 5; // another process that starts may take an unlocked folder for a left one
    for (int iTry = 0; iTry < iTries; ++iTry)
    {
        std::string strPath = a_strPlace + "/" + s_acTemplate;
        if (mkdtemp(strPath.data()) == nullptr)
        {
            return false;
        }
        m_iLock = lockFolder(strPath);
        if (m_iLock >= 0)
        {
            m_strPath = strPath;
            return true;
        }
    }
    return false;
}

} // namespace quorvad
