#pragma once

#include "korrin/net/eventdispatcher.h"
#include "vadro/cfg/common/iconfigclient.h"
#include "vadro/cfg/iconfighandler.h"

#include <memory>
#include <string>

class RowFile;

namespace vadro::cfg
{

/// The connection to the configuration database: here the file RowFile, whatever socket the daemon names.
class NotificationHandler
{
public:
    NotificationHandler(const char* a_pSocketPath,
                        korrin::net::EventDispatcher& a_oDispatcher,
                        const std::string& a_strClientName,
                        bool a_bNotifyOwnChanges,
                        unsigned int a_uiConnectTimeoutSec,
                        unsigned int a_uiRetryDelayMs,
                        bool a_bReconnect,
                        bool a_bReadOnly);
    ~NotificationHandler();

    void registerConfigHandler(IConfigHandler* a_pHandler);
    /// Throws std::runtime_error when the file can't be read.
    void initialize();
    [[nodiscard]] common::IConfigClient& getConfigClient();
    /// Tells the handler of every watched table that changed. The first call tells it of the first table.
    void process();

private:
    std::unique_ptr<RowFile> m_pFile;
    IConfigHandler* m_pHandler = nullptr;
    bool m_bFirst = true;
};

} // namespace vadro::cfg
