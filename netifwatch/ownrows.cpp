#include "netifwatch/ownrows.h"

#include "platform/base/uniquefd.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace netifwatch
{

namespace
{

[[noreturn]] void fail(const std::string& a_strWhat)
{
    throw std::system_error(errno, std::generic_category(), a_strWhat);
}

bool writeAll(int a_iFd, const std::string& a_strText)
{
    std::size_t uiWritten = 0;
    while (uiWritten < a_strText.size())
    {
        const ssize_t iWritten = ::write(a_iFd, a_strText.data() + uiWritten, a_strText.size() - uiWritten);
        if (iWritten < 0 && errno != EINTR)
        {
            return false;
        }
        uiWritten += iWritten > 0 ? static_cast<std::size_t>(iWritten) : 0;
    }
    return true;
}

/// A rename is on disk once its folder is.
void syncFolder(const std::filesystem::path& a_oFolder)
{
    const platform::UniqueFd oFolder(::open(a_oFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (oFolder.isOpen())
    {
        ::fsync(oFolder.get());
    }
}

} // namespace

OwnRow describeRow(const korrin::ValueList& a_oRow)
{
    return {a_oRow.getValue("Id").getInteger(),
            a_oRow.getValue("Interface").getText(),
            a_oRow.getValue("IPAddress").getText()};
}

OwnRows OwnRowsFile::load() const
{
    std::ifstream oFile(m_strPath);
    if (!oFile)
    {
        if (errno == ENOENT || errno == ENOTDIR)
        {
            return {};
        }
        fail("can't read " + m_strPath);
    }
    OwnRows oRows;
    for (std::string strLine; std::getline(oFile, strLine);)
    {
        std::istringstream oLine(strLine);
        OwnRow oRow;
        if (oLine >> oRow.m_iId >> oRow.m_strInterface >> oRow.m_strAddress)
        {
            oRows.insert(oRow);
        }
    }
    if (oFile.bad())
    {
        fail("can't read " + m_strPath);
    }
    return oRows;
}

void OwnRowsFile::save(const OwnRows& a_oRows) const
{
    std::ostringstream oText;
    oText << "# The rows of DNSClientServer that netifwatch wrote: Id, interface, address.\n";
    for (const OwnRow& oRow : a_oRows)
    {
        oText << oRow.m_iId << ' ' << oRow.m_strInterface << ' ' << oRow.m_strAddress << '\n';
    }
    const std::filesystem::path oFolder = std::filesystem::path(m_strPath).parent_path();
    ::mkdir(oFolder.c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH); // one that is there stays
    const std::string strNew = m_strPath + ".new";
    platform::UniqueFd oFile(::open(
        strNew.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH));
    if (!oFile.isOpen() || !writeAll(oFile.get(), oText.str()) || ::fsync(oFile.get()) != 0 || !oFile.reset() ||
        std::rename(strNew.c_str(), m_strPath.c_str()) != 0)
    {
        const int iReason = errno;
        ::unlink(strNew.c_str());
        errno = iReason;
        fail("can't note which rows of DNSClientServer are its own in " + m_strPath +
             " (name another file with --state, or do without by --no-dns)");
    }
    syncFolder(oFolder);
}

} // namespace netifwatch
