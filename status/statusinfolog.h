#pragma once

#include "config/configobjects.h"
#include "vadro/cfg/common/iconfigclient.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quorvad
{

/// The local time now, to the second, as in 2026-03-01T17:45:09+0100. Any thread; follows changes of the time zone.
[[nodiscard]] std::string currentTimeToIsoFormat();

/// Gathers the outcomes of update attempts in memory and writes them to DynDnsLog and DynDnsStatus once per pass.
///
/// One instance, reached through vadro::basic::SingletonAdapter. Worker threads only push; everything that takes a
/// client runs on the main thread, on rows taken out of the store, so no worker ever waits for the database.
class StatusInfoLog
{
public:
    StatusInfoLog();
    ~StatusInfoLog() = default;
    StatusInfoLog(const StatusInfoLog&) = delete;
    StatusInfoLog& operator=(const StatusInfoLog&) = delete;

    /// Queues one report; any thread. Both objects are moved from. A status row replaces a waiting one of the same
    /// account; an empty one queues the log row alone. Throws vadro::error::AssertionFailed (type 4) for a status row
    /// without DynDnsId; its log row stays queued.
    void push(ConfigObject& a_log, ConfigObject& a_status);

    /// Takes all waiting log rows, in the order pushed; any thread.
    [[nodiscard]] std::vector<ConfigObject> getLogs();
    /// Takes all waiting status rows, by account; any thread.
    [[nodiscard]] std::map<int, ConfigObject> getStatus();

    /// Writes the newest waiting log row and the status row of each account. Main thread. Blocks for about 60 s when
    /// write access is refused; the rows are then dropped with a warning. Without waiting rows the client is not
    /// called.
    void commitChanges(vadro::cfg::common::IConfigClient& a_oClient);
    /// Deletes the oldest rows of DynDnsLog beyond m_uiMaxLogEntries. Main thread, under write access.
    void cleanupDynDnsLog(vadro::cfg::common::IConfigClient& a_oClient);
    /// Inserts or updates each account's status row; one that fails is skipped with a warning. Main thread, under
    /// write access. Consumes the rows.
    void saveStatus(vadro::cfg::common::IConfigClient& a_oClient, std::map<int, ConfigObject>& a_oStatus);

    std::uint32_t m_uiMaxLogEntries;
    std::vector<ConfigObject> m_oLogs;
    std::map<int, ConfigObject> m_oStatus;
    std::mutex m_oMutex; ///< guards m_oLogs and m_oStatus
    std::uint32_t m_iModuleId;

private:
    [[nodiscard]] std::vector<ConfigObject> newestPerAccount(const std::vector<ConfigObject>& a_oLogs) const;
    [[nodiscard]] bool obtainWriteAccess(vadro::cfg::common::IConfigClient& a_oClient) const;
    void insertLogs(vadro::cfg::common::IConfigClient& a_oClient, const std::vector<ConfigObject>& a_oLogs) const;
    void insertStatus(vadro::cfg::common::IConfigClient& a_oClient, int a_iId, const ConfigObject& a_oRow) const;
    void updateStatus(vadro::cfg::common::IConfigClient& a_oClient, int a_iId, ConfigObject& a_oRow) const;
};

} // namespace quorvad
