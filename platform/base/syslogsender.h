#pragma once

#include "platform/base/uniquefd.h"

#include <cstddef>
#include <mutex>
#include <string>

namespace platform
{

/// Hands lines to the system logger. syslog(3) would block every logging thread for as long as the logger does not
/// read. Here such a logger costs half a second once; lines are then dropped until it reads again, and the first line
/// after that says how many. Without a logger lines vanish. Any thread; throws std::bad_alloc only.
class SyslogSender
{
public:
    explicit SyslogSender(std::string a_strPath = "/dev/log");

    /// One line; a_iPriority as syslog(3) takes it.
    void send(int a_iPriority, const std::string& a_strProgram, const std::string& a_strText);

private:
    bool deliver(const std::string& a_strLine);
    bool sendOnce(const std::string& a_strLine) const;
    bool waitForRoom() const;
    void open();

    const std::string m_strPath;
    std::mutex m_oMutex;
    UniqueFd m_oSocket;
    bool m_bStuck = false;
    std::size_t m_uiLost = 0;
};

} // namespace platform
