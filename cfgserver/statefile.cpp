#include "cfgserver/statefile.h"

#include "cfgserver/databasefile.h"
#include "platform/common/log.h"

#include <cstdint>
#include <exception>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace cfgserver
{

namespace
{

constexpr char s_acLogFile[] = "statefile";

bool isInMemory(const std::string& a_strFolder)
{
    struct statfs oStatus = {};
    const bool bFound = ::statfs(a_strFolder.c_str(), &oStatus) == 0;
    const auto uiType = static_cast<std::uint32_t>(oStatus.f_type); // a signed int on machines of 32 bits
    return bFound && (uiType == TMPFS_MAGIC || uiType == RAMFS_MAGIC);
}

} // namespace

StateFile::StateFile(const std::string& a_strFolder)
    : m_iModuleId(VADRO_Sysloglevel_registerModul("cfgserver")),
      m_strPath(a_strFolder + "/state.db"), m_oFiles{m_strPath,
                                                     m_strPath + "-wal",
                                                     m_strPath + "-shm",
                                                     m_strPath + "-journal"}
{
    if (a_strFolder.empty())
    {
        return;
    }
    if (!isInMemory(a_strFolder))
    {
        LOG_WARNING("State tables are not kept over a restart: %s is not a folder of a memory file system (tmpfs)",
                    a_strFolder.c_str());
        return;
    }
    open();
}

void StateFile::open()
{
    try
    {
        load();
    }
    catch (const ForeignFile& oError)
    {
        giveUp(oError.what());
    }
    catch (const std::exception& oError)
    {
        replace(oError.what());
    }
}

void StateFile::load()
{
    m_pDatabase = std::make_unique<Database>(m_strPath, EKept::eUntilReboot);
    for (const TableSchema& oSchema : getSchema())
    {
        if (keptOf(oSchema) == EKept::eUntilReboot)
        {
            m_oTables.emplace(oSchema.m_strName, m_pDatabase->load(oSchema));
        }
    }
    m_pDatabase->accept();
}

void StateFile::replace(const std::string& a_strReason)
{
    // The reason without its advice, which is for a file that somebody would miss.
    const std::string strWhy = a_strReason.substr(0, a_strReason.find("; "));
    LOG_WARNING("State tables of before the restart are lost: %s", strWhy.c_str());
    m_oTables.clear();
    remove();
    try
    {
        load();
    }
    catch (const std::exception& oError)
    {
        giveUp(oError.what());
    }
}

void StateFile::giveUp(const char* a_pReason)
{
    LOG_WARNING("State tables are not kept over a restart: %s", a_pReason);
    m_oTables.clear();
    m_pDatabase.reset();
}

void StateFile::remove() noexcept
{
    m_pDatabase.reset();
    for (const std::string& strFile : m_oFiles)
    {
        ::unlink(strFile.c_str());
    }
}

Table StateFile::take(const TableSchema& a_oSchema)
{
    auto oNode = m_oTables.extract(a_oSchema.m_strName);
    return oNode.empty() ? Table(a_oSchema) : std::move(oNode.mapped());
}

void StateFile::save(const TableChanges& a_oChanges)
{
    if (!m_pDatabase)
    {
        return;
    }
    try
    {
        m_pDatabase->save(a_oChanges);
    }
    catch (const std::exception& oError)
    {
        LOG_WARNING("State tables are no longer kept over a restart: %s", oError.what());
        m_pDatabase->isInPlace() ? remove() : m_pDatabase.reset(); // what is in it is out of date
    }
}

} // namespace cfgserver
