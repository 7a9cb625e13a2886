#include "netifwatch/earliernotes.h"

#include "platform/common/file.h"
#include "platform/common/log.h"
#include "platform/common/values.h"

#include <cerrno>
#include <sstream>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace netifwatch
{

using platform::textOf;

constexpr char s_acLogFile[] = "earliernotes";

constexpr std::size_t s_uiMaxBytes = 1024UL * 1024UL; // some ten thousand rows

EarlierNotes::EarlierNotes(const std::vector<std::string>& a_oPaths)
    : m_iModuleId(VADRO_Sysloglevel_registerModul("netifwatch"))
{
    for (const std::string& strPath : a_oPaths)
    {
        read(strPath);
    }
}

void EarlierNotes::read(const std::string& a_strPath)
{
    const platform::FileContent oContent = platform::readFile(a_strPath, s_uiMaxBytes);
    if (oContent.isAbsent())
    {
        return;
    }
    if (oContent.m_iError != 0)
    {
        LOG_WARNING("Cannot read %s: %s", a_strPath.c_str(), oContent.m_strFailure.c_str());
        return;
    }
    File oFile;
    oFile.m_strPath = a_strPath;
    std::istringstream oText(oContent.m_strBytes);
    for (std::string strLine; std::getline(oText, strLine);)
    {
        oFile.m_oLines.insert(std::move(strLine));
    }
    m_oFiles.push_back(std::move(oFile));
}

bool EarlierNotes::find(const korrin::ValueList& a_oRow)
{
    const std::string strLine = textOf(a_oRow, dbm::Id) + " " + textOf(a_oRow, dbm::Interface) + " " +
                                textOf(a_oRow, dbm::DNSClientServer_IPAddress);
    bool bFound = false;
    for (File& oFile : m_oFiles)
    {
        const bool bNoted = oFile.m_oLines.count(strLine) != 0;
        oFile.m_bFound = oFile.m_bFound || bNoted;
        bFound = bFound || bNoted;
    }
    return bFound;
}

Operations EarlierNotes::claim(Rows& a_oPresent)
{
    Operations oMarks;
    for (korrin::ValueList& oRow : a_oPresent)
    {
        if (find(oRow) && textOf(oRow, dbm::DNSClientServer_Origin).empty())
        {
            const korrin::Value oOrigin = platform::text(dbm::Origin_Watcher);
            oRow.remove(dbm::DNSClientServer_Origin);
            oRow.add(dbm::DNSClientServer_Origin, oOrigin);
            oMarks.push_back({Operation::Kind::Update,
                              dbm::Table_DNSClientServer,
                              textOf(oRow, dbm::Interface),
                              oRow.getValue(dbm::Id).getInteger(),
                              platform::row({{dbm::DNSClientServer_Origin, oOrigin}})});
        }
    }
    return oMarks;
}

void EarlierNotes::discard()
{
    for (File& oFile : m_oFiles)
    {
        if (!oFile.m_bFound)
        {
            continue;
        }
        if (::unlink(oFile.m_strPath.c_str()) == 0)
        {
            LOG_INFO("The rows noted in %s are marked in the table; the file is removed.", oFile.m_strPath.c_str());
        }
        else if (errno != ENOENT)
        {
            LOG_WARNING(
                "Cannot remove %s: %s", oFile.m_strPath.c_str(), std::generic_category().message(errno).c_str());
        }
        oFile = File(); // once
    }
}

} // namespace netifwatch
