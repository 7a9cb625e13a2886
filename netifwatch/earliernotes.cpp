#include "netifwatch/earliernotes.h"

#include "platform/common/log.h"
#include "platform/common/values.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace netifwatch
{

namespace
{

constexpr char s_acLogFile[] = "earliernotes";

} // namespace

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
    std::ifstream oFile(a_strPath);
    if (!oFile && (errno == ENOENT || errno == ENOTDIR))
    {
        return;
    }
    for (std::string strLine; std::getline(oFile, strLine);)
    {
        std::istringstream oLine(strLine);
        int iId = 0;
        std::string strInterface;
        std::string strAddress;
        if (oLine >> iId >> strInterface >> strAddress)
        {
            m_oRows.emplace(iId, strInterface, strAddress);
        }
    }
    if (!oFile.eof())
    {
        LOG_WARNING("Cannot read %s: %s", a_strPath.c_str(), std::strerror(errno));
        return;
    }
    m_oPaths.push_back(a_strPath);
}

Operations EarlierNotes::claim(Rows& a_oPresent)
{
    Operations oMarks;
    for (korrin::ValueList& oRow : a_oPresent)
    {
        const int iId = oRow.getValue(dbm::Id).getInteger();
        const std::string strInterface = oRow.getValue(dbm::Interface).getText();
        if (m_oRows.count({iId, strInterface, oRow.getValue(dbm::DNSClientServer_IPAddress).getText()}) == 0)
        {
            continue;
        }
        m_bFound = true;
        if (oRow.getValue(dbm::DNSClientServer_Origin).getText().empty())
        {
            const korrin::Value oOrigin = platform::text(dbm::Origin_Watcher);
            oRow.remove(dbm::DNSClientServer_Origin);
            oRow.add(dbm::DNSClientServer_Origin, oOrigin);
            oMarks.push_back({Operation::Kind::Update, dbm::Table_DNSClientServer, strInterface, iId, {}});
            oMarks.back().m_oValues.add(dbm::DNSClientServer_Origin, oOrigin);
        }
    }
    return oMarks;
}

void EarlierNotes::discard()
{
    if (!m_bFound)
    {
        return;
    }
    for (const std::string& strPath : m_oPaths)
    {
        if (::unlink(strPath.c_str()) == 0)
        {
            LOG_INFO("The rows noted in %s are marked in the table; the file is removed.", strPath.c_str());
        }
        else if (errno != ENOENT)
        {
            LOG_WARNING("Cannot remove %s: %s", strPath.c_str(), std::strerror(errno));
        }
    }
    m_oPaths.clear();
    m_oRows.clear();
    m_bFound = false;
}

} // namespace netifwatch
