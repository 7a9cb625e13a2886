#include "vadro/cfg/notificationhandler.h"

#include "platform/client/serviceconnection.h"

namespace vadro::cfg
{

NotificationHandler::NotificationHandler(const char* a_pSocketPath,
                                         korrin::net::EventDispatcher& a_oDispatcher,
                                         const std::string& a_strClientName,
                                         bool a_bNotifyOwnChanges,
                                         unsigned int a_uiConnectTimeoutSec,
                                         unsigned int a_uiRetryDelayMs,
                                         bool a_bReconnect,
                                         bool a_bReadOnly)
{
    LinkSettings oSettings;
    oSettings.m_strSocketPath = a_pSocketPath;
    oSettings.m_oIntroduction.m_strClientName = a_strClientName;
    oSettings.m_oIntroduction.m_bNotifyOwnChanges = a_bNotifyOwnChanges;
    oSettings.m_oIntroduction.m_bReadOnly = a_bReadOnly;
    oSettings.m_bReconnect = a_bReconnect;
    oSettings.m_uiRetryDelayMs = a_uiRetryDelayMs;
    m_pConnection = std::make_unique<ServiceConnection>(a_oDispatcher.getEventLoop(), oSettings, a_uiConnectTimeoutSec);
}

NotificationHandler::~NotificationHandler() = default;

void NotificationHandler::registerConfigHandler(IConfigHandler* a_pHandler)
{
    m_pConnection->registerConfigHandler(a_pHandler);
}

void NotificationHandler::initialize()
{
    m_pConnection->initialize();
}

common::IConfigClient& NotificationHandler::getConfigClient()
{
    return m_pConnection->getConfigClient();
}

void NotificationHandler::process()
{
    m_pConnection->process();
}

} // namespace vadro::cfg
