#include "cfgserver/databaseplace.h"

#include "cfgserver/databasefile.h"
#include "platform/base/aside.h"

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace cfgserver
{

DatabasePlace::DatabasePlace(const std::string& a_strPath)
    : m_strFile(a_strPath == g_pMemoryDatabase ? "" : a_strPath), m_strLog(a_strPath + "-wal"),
      m_strFolder(a_strPath.substr(0, a_strPath.rfind('/') + 1)), m_oFile(identify(m_strFile)),
      m_oLog(identify(m_strLog)), m_oFolder(identify(m_strFolder))
{
}

std::optional<DatabasePlace::Identity> DatabasePlace::identify(const std::string& a_strFile) noexcept
{
    struct stat oStatus = {};
    if (::lstat(a_strFile.c_str(), &oStatus) != 0)
    {
        return std::nullopt;
    }
    return Identity{oStatus.st_dev, oStatus.st_ino};
}

bool DatabasePlace::isOther(const std::optional<Identity>& a_oOurs, const std::optional<Identity>& a_oFound)
{
    return a_oOurs && a_oFound &&
           (a_oOurs->m_uiDevice != a_oFound->m_uiDevice || a_oOurs->m_uiInode != a_oFound->m_uiInode);
}

DatabasePlace::State DatabasePlace::look() const noexcept
{
    if (m_strFile.empty())
    {
        return State::InPlace;
    }
    const std::optional<Identity> oFile = identify(m_strFile);
    const std::optional<Identity> oLog = identify(m_strLog);
    if (isOther(m_oFile, oFile) || isOther(m_oLog, oLog))
    {
        return State::Taken;
    }
    if (oFile && oLog)
    {
        return State::InPlace;
    }
    const std::optional<Identity> oFolder = identify(m_strFolder);
    const bool bOtherDisk = m_oFolder && oFolder && m_oFolder->m_uiDevice != oFolder->m_uiDevice;
    return bOtherDisk ? State::OtherDisk : State::Gone;
}

void DatabasePlace::removeOurLog() const noexcept
{
    const std::optional<Identity> oFile = identify(m_strFile);
    const std::optional<Identity> oLog = identify(m_strLog);
    if ((!oFile || isOther(m_oFile, oFile)) && m_oLog && oLog && !isOther(m_oLog, oLog))
    {
        ::unlink(m_strLog.c_str());
    }
}

void DatabasePlace::put(const std::string& a_strNewFile)
{
    const std::optional<Identity> oNew = identify(a_strNewFile);
    if (::unlink(m_strLog.c_str()) != 0 && errno != ENOENT)
    {
        throw std::system_error(errno, std::generic_category(), "cannot remove database log " + m_strLog);
    }
    const std::optional<Identity> oFound = identify(m_strFile);
    const bool bOurs = oFound && !isOther(m_oFile, oFound); // only the log was gone
    if (bOurs ? std::rename(a_strNewFile.c_str(), m_strFile.c_str()) != 0
              : !platform::renameToFree(a_strNewFile, m_strFile))
    {
        throw std::system_error(errno, std::generic_category(), "cannot put a new database file at " + m_strFile);
    }
    syncFolder(m_strFolder);
    m_oFile = oNew;
    m_oLog.reset();
}

} // namespace cfgserver
