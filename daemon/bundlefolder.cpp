#include "daemon/bundlefolder.h"

#include "daemon/bundlesplit.h"
#include "daemon/signals.h"
#include "platform/common/log.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace quorvad
{

namespace
{

constexpr char s_acLogFile[] = "certificates";

constexpr char s_acCurrent[] = "current"; // a link to one of the two folders
constexpr char s_acNext[] = "next";       // the same link before it replaces the other
constexpr std::array<const char*, 2> s_apFolders = {"a", "b"};
constexpr char s_acBundle[] = "bundle"; // in a folder without certificates: a link to the machine's bundle

/// The next change will have another time: file systems count in steps of up to two seconds.
bool isSettled(const platform::FileStamp& a_oStamp)
{
    constexpr std::time_t iStepSec = 2;
    return std::abs(std::time(nullptr) - a_oStamp.m_oWritten.tv_sec) > iStepSec;
}

void makeEmpty(const std::string& a_strFolder)
{
    std::error_code oIgnored;
    std::filesystem::remove_all(a_strFolder, oIgnored);
    if (mkdir(a_strFolder.c_str(), S_IRWXU) != 0)
    {
        throw std::system_error(errno, std::generic_category());
    }
}

} // namespace

BundleFolder::BundleFolder(const std::string& a_strBundle, const std::vector<std::string>& a_oPlaces)
    : m_oFolder(a_oPlaces), m_strBundle(a_strBundle)
{
    if (m_oFolder.getPath().empty())
    {
        report("no folder that only this user can write");
    }
}

bool BundleFolder::isUsable() const
{
    std::error_code oIgnored;
    return !m_oFolder.getPath().empty() && std::filesystem::exists(getFolder(), oIgnored);
}

std::string BundleFolder::getFolder() const
{
    return path(s_acCurrent);
}

std::string BundleFolder::getBundle() const
{
    return path(s_acCurrent) + "/" + s_acBundle;
}

void BundleFolder::refresh()
{
    if (m_oFolder.getPath().empty())
    {
        return;
    }
    const platform::FileStamp oStamp = platform::stampOf(m_strBundle.c_str());
    if (m_oSplit && *m_oSplit == oStamp && isUsable())
    {
        return;
    }
    mkdir(m_oFolder.getPath().c_str(), S_IRWXU); // somebody may have removed it
    m_oSplit.reset();
    if (install() && isSettled(oStamp))
    {
        m_oSplit = oStamp;
    }
}

bool BundleFolder::install()
{
    std::error_code oIgnored;
    const bool bFirst = std::filesystem::read_symlink(path(s_acCurrent), oIgnored) == s_apFolders[1];
    const std::string strNew = s_apFolders[bFirst ? 0 : 1];
    const std::string strOld = s_apFolders[bFirst ? 1 : 0];
    const bool bRoom = hasRoomFor([&] { fill(strNew), use(strNew); });
    if (!bRoom)
    {
        static_cast<void>(hasRoomFor([&] { leaveToOpenSsl(strNew), use(strNew); }));
    }
    // Also if all of that failed: what the bundle no longer holds must not be trusted.
    std::filesystem::remove_all(path(strOld), oIgnored);
    return bRoom;
}

bool BundleFolder::hasRoomFor(const std::function<void()>& a_oWork)
{
    try
    {
        a_oWork();
        return true;
    }
    catch (const std::system_error& oFailure)
    {
        report(oFailure.code().message());
        return false;
    }
}

void BundleFolder::fill(const std::string& a_strName)
{
    makeEmpty(path(a_strName));
    const std::string strFailure = splitBundle(m_strBundle, path(a_strName));
    report(strFailure);
    if (!strFailure.empty())
    {
        leaveToOpenSsl(a_strName);
    }
}

void BundleFolder::leaveToOpenSsl(const std::string& a_strName)
{
    makeEmpty(path(a_strName));
    std::error_code oIgnored;
    if (std::filesystem::is_regular_file(m_strBundle, oIgnored)) // a pipe would keep every transfer waiting
    {
        std::filesystem::create_symlink(m_strBundle, path(a_strName) + "/" + s_acBundle);
    }
}

void BundleFolder::use(const std::string& a_strName)
{
    std::filesystem::remove(path(s_acNext));
    std::filesystem::create_symlink(a_strName, path(s_acNext));
    std::filesystem::rename(path(s_acNext), path(s_acCurrent));
}

void BundleFolder::report(const std::string& a_strFailure)
{
    if (a_strFailure != m_strFailure && !a_strFailure.empty())
    {
        LOG_TO(g_iModuleId, info, "Each HTTPS update reads all of '%s': %s", m_strBundle.c_str(), a_strFailure.c_str());
    }
    m_strFailure = a_strFailure;
}

} // namespace quorvad
