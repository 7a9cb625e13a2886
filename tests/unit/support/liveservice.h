#pragma once

#include "cfgserver/database.h"
#include "cfgserver/server.h"
#include "cfgserver/servicesocket.h"
#include "cfgserver/store.h"
#include "tests/unit/support/folder.h"

#include <atomic>
#include <memory>
#include <thread>

/// The real configuration service on a thread of its own. Its tables are in memory and lost when it stops.
class LiveService
{
public:
    explicit LiveService(const cfgserver::Limits& a_oLimits = {})
        : m_pInside(std::make_unique<Inside>(getSocket(), a_oLimits)), m_oThread([this] { run(); })
    {
    }
    ~LiveService() { stop(); }

    void stop()
    {
        if (m_pInside)
        {
            m_bStop = true;
            m_pInside->m_oLoop.wakeUp();
            m_oThread.join();
            m_pInside.reset();
        }
    }
    /// How often the service has woken up.
    [[nodiscard]] unsigned getTurns() const { return m_uiTurns; }
    [[nodiscard]] std::string getSocket() const { return m_oFolder / "socket"; }

private:
    struct Inside
    {
        Inside(const std::string& a_strSocket, const cfgserver::Limits& a_oLimits)
            : m_oDatabase(":memory:"), m_oStore(m_oDatabase), m_oSocket(a_strSocket, std::nullopt),
              m_oServer(m_oLoop, m_oStore, m_oSocket, a_oLimits)
        {
        }
        cfgserver::Database m_oDatabase;
        cfgserver::Store m_oStore;
        cfgserver::ServiceSocket m_oSocket;
        platform::EventLoop m_oLoop;
        cfgserver::Server m_oServer;
    };

    void run()
    {
        while (!m_bStop)
        {
            m_pInside->m_oServer.runOnce();
            ++m_uiTurns;
        }
    }

    Folder m_oFolder;
    std::atomic<bool> m_bStop{false};
    std::atomic<unsigned> m_uiTurns{0};
    std::unique_ptr<Inside> m_pInside;
    std::thread m_oThread;
};
