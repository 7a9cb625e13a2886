#include "vadro/cfg/notificationhandler.h"

#include "rowfile.h"
#include "vadro/sysloglevel.h"

#include <stdexcept>

namespace vadro::cfg
{

NotificationHandler::NotificationHandler(const char* /*a_pSocketPath*/,
                                         korrin::net::EventDispatcher& /*a_oDispatcher*/,
                                         const std::string& /*a_strClientName*/,
                                         bool /*a_bNotifyOwnChanges*/,
                                         unsigned int /*a_uiConnectTimeoutSec*/,
                                         unsigned int /*a_uiRetryDelayMs*/,
                                         bool /*a_bReconnect*/,
                                         bool /*a_bReadOnly*/)
    : m_pFile(std::make_unique<RowFile>(KIT_ROW_FILE))
{
}

NotificationHandler::~NotificationHandler() = default;

void NotificationHandler::registerConfigHandler(IConfigHandler* a_pHandler)
{
    m_pHandler = a_pHandler;
}

void NotificationHandler::initialize()
{
    m_pFile->refresh();
}

common::IConfigClient& NotificationHandler::getConfigClient()
{
    return *m_pFile;
}

void NotificationHandler::process()
{
    RowFile::Tables oBefore;
    try
    {
        oBefore = m_pFile->refresh();
    }
    catch (const std::runtime_error& oError)
    {
        VADRO_Sysloglevel_warning(0, "notificationhandler", __LINE__, oError.what());
        return; // the rows read last stay valid
    }
    std::list<std::string> oTables;
    m_pHandler->getTableNames(oTables);
    for (const std::string& strTable : oTables)
    {
        if (m_bFirst || m_pFile->differs(oBefore, strTable))
        {
            m_bFirst = false;
            m_pHandler->loadFromConfig(*m_pFile, strTable);
        }
    }
}

} // namespace vadro::cfg
