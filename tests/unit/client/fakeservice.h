#pragma once

#include "platform/base/uniquefd.h"
#include "platform/wire/frame.h"
#include "platform/wire/message.h"
#include "tests/unit/support/folder.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// The service's end of one connection, driven by a script on the fake service's thread. A step that takes 5 s throws,
/// which ends the script; the test then fails because what it waits for does not come.
class FakePeer
{
public:
    explicit FakePeer(int a_iFd) : m_iFd(a_iFd) {}

    wire::Request expect(wire::Operation a_eOperation);
    /// Accepts the client's hello.
    wire::Request greet();
    void reply(const wire::Request& a_oRequest, unsigned a_uiNumber = 0, wire::Result a_eResult = wire::Result::Ok);
    void notify(const std::string& a_strTable);
    void sendBytes(const std::string& a_strBytes);
    /// Waits until the client hangs up; true if it sent nothing until then.
    bool awaitEnd();

private:
    [[nodiscard]] std::string receive() const;

    int m_iFd;
    wire::FrameReader m_oReader;
};

/// Listens on a Unix socket in a folder of its own and runs one script per connection, one after the other.
class FakeService
{
public:
    using Script = std::function<void(FakePeer&)>;

    FakeService() = default;
    ~FakeService();
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    void start(std::vector<Script> a_oScripts);
    /// Returns when all scripts have ended and their connections are closed.
    void awaitLastScript() { m_oThread.join(); }
    [[nodiscard]] const std::string& getPath() const { return m_strPath; }

private:
    void run(const std::vector<Script>& a_oScripts) const;

    const Folder m_oFolder;
    const std::string m_strPath = m_oFolder / "socket";
    platform::UniqueFd m_oListener;
    std::atomic<bool> m_bStop{false};
    std::thread m_oThread;
};
