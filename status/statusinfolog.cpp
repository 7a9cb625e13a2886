#include "status/statusinfolog.h"

#include "config/schema.h"
#include "platform/common/localtime.h"
#include "platform/common/log.h"
#include "vadro/error/assert.h"

#include <ctime>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace quorvad
{

using vadro::cfg::common::IConfigClient;

namespace
{

constexpr char s_acLogFile[] = "statusinfolog";

constexpr int s_iAccessRequests = 121;
constexpr useconds_t s_uiAccessPauseUs = 500000;

} // namespace

std::string currentTimeToIsoFormat()
{
    timespec oNow{};
    clock_gettime(CLOCK_REALTIME, &oNow);
    tzset(); // localtime_r alone reads the zone only once per process
    return platform::formatLocalTime(oNow.tv_sec, platform::g_acIsoFormat);
}

StatusInfoLog::StatusInfoLog() : m_uiMaxLogEntries(50), m_iModuleId(VADRO_Sysloglevel_registerModul("quorvad"))
{
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    m_oLogs.reserve(std::size_t{2} * m_uiMaxLogEntries);
}

void StatusInfoLog::push(ConfigObject& a_log, ConfigObject& a_status)
{
    LOG_DEBUG("push");
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    m_oLogs.push_back(std::move(a_log));
    if (a_status.m_oLastSnapshot.empty())
    {
        return;
    }
    if (!a_status.m_oLastSnapshot.hasValue(dbm::DynDnsStatus_DynDnsId))
    {
        vadro::error::Assert::throwAssertionFailed(
            vadro::error::eConstruction, "statusinfolog", 41, "true == a_status.hasValue(dbm::DynDnsStatus_DynDnsId)");
    }
    const int iId = a_status.getValue(dbm::DynDnsStatus_DynDnsId).getInteger();
    m_oStatus.insert_or_assign(iId, std::move(a_status));
}

std::vector<ConfigObject> StatusInfoLog::getLogs()
{
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    return std::exchange(m_oLogs, {});
}

std::map<int, ConfigObject> StatusInfoLog::getStatus()
{
    const std::lock_guard<std::mutex> oLock(m_oMutex);
    return std::exchange(m_oStatus, {});
}

void StatusInfoLog::commitChanges(IConfigClient& a_oClient)
{
    LOG_DEBUG("commitChanges");
    std::vector<ConfigObject> oLogs;
    std::map<int, ConfigObject> oStatus;
    {
        // Both under one lock, so that no report is split between two passes.
        const std::lock_guard<std::mutex> oLock(m_oMutex);
        oLogs.swap(m_oLogs);
        oStatus.swap(m_oStatus);
    }
    const std::vector<ConfigObject> oToWrite = newestPerAccount(oLogs);
    if (oToWrite.empty())
    {
        return;
    }
    if (!obtainWriteAccess(a_oClient))
    {
        LOG_WARNING("Failed to get DB access");
        return;
    }
    cleanupDynDnsLog(a_oClient);
    insertLogs(a_oClient, oToWrite);
    saveStatus(a_oClient, oStatus);
    a_oClient.commit();
}

std::vector<ConfigObject> StatusInfoLog::newestPerAccount(const std::vector<ConfigObject>& a_oLogs) const
{
    std::unordered_map<int, const ConfigObject*> oNewest;
    for (const ConfigObject& oRow : a_oLogs)
    {
        if (!oRow.m_oLastSnapshot.hasValue(dbm::DynDnsLog_DynDnsId))
        {
            LOG_WARNING("Skipping a DynDnsLog row without column DynDnsId.");
            continue;
        }
        oNewest[integerOf(oRow, dbm::DynDnsLog_DynDnsId)] = &oRow;
    }
    std::vector<ConfigObject> oRows;
    oRows.reserve(oNewest.size());
    for (const auto& [iId, pRow] : oNewest)
    {
        oRows.push_back(*pRow);
        LOG_DEBUG("For DynDNS id %d found latest elem ts '%s'", iId, textOf(*pRow, dbm::DynDnsLog_Timestamp).c_str());
    }
    return oRows;
}

bool StatusInfoLog::obtainWriteAccess(IConfigClient& a_oClient) const
{
    if (!a_oClient.hasdbaccess())
    {
        for (int iRequest = 1; a_oClient.getdbaccess() != 0 && iRequest < s_iAccessRequests; ++iRequest)
        {
            usleep(s_uiAccessPauseUs);
        }
    }
    return a_oClient.hasdbaccess();
}

void StatusInfoLog::cleanupDynDnsLog(IConfigClient& a_oClient)
{
    LOG_DEBUG("cleanupDynDnsLog");
    unsigned int uiCount = 0;
    a_oClient.getrowcount(dbm::Table_DynDnsLog, uiCount);
    if (uiCount <= m_uiMaxLogEntries)
    {
        return;
    }
    const std::size_t uiToDelete = uiCount - m_uiMaxLogEntries;
    LOG_DEBUG("Entries to delete: %zu", uiToDelete);
    std::size_t uiDeleted = 0;
    for (std::size_t uiAttempts = 0; uiDeleted < uiToDelete && uiAttempts != 3 * uiToDelete; ++uiAttempts)
    {
        if (a_oClient.deleterow(dbm::Table_DynDnsLog, 0) == 0)
        {
            ++uiDeleted;
            LOG_DEBUG("deleterow entry no. %zu", uiDeleted);
        }
    }
}

void StatusInfoLog::insertLogs(IConfigClient& a_oClient, const std::vector<ConfigObject>& a_oLogs) const
{
    for (const ConfigObject& oRow : a_oLogs)
    {
        a_oClient.insertrow(dbm::Table_DynDnsLog, oRow.m_oLastSnapshot);
        LOG_DEBUG("insertrow (DynDnsId: %d , ts: '%s')",
                  integerOf(oRow, dbm::DynDnsLog_DynDnsId),
                  textOf(oRow, dbm::DynDnsLog_Timestamp).c_str());
    }
}

void StatusInfoLog::saveStatus(IConfigClient& a_oClient, std::map<int, ConfigObject>& a_oStatus)
{
    LOG_DEBUG("saveStatus");
    for (auto& [iId, oRow] : a_oStatus)
    {
        if (oRow.m_oLastSnapshot.empty())
        {
            continue;
        }
        korrin::NameList oColumns;
        korrin::ValueList oValues;
        if (a_oClient.getrowbykey(
                dbm::Table_DynDnsStatus, dbm::DynDnsStatus_DynDnsId, std::to_string(iId), oColumns, oValues) != 0)
        {
            insertStatus(a_oClient, iId, oRow);
        }
        else
        {
            updateStatus(a_oClient, iId, oRow);
        }
    }
}

void StatusInfoLog::insertStatus(IConfigClient& a_oClient, int a_iId, const ConfigObject& a_oRow) const
{
    if (a_oClient.insertrow(dbm::Table_DynDnsStatus, a_oRow.m_oLastSnapshot) == 0)
    {
        LOG_DEBUG("insertrow (DynDnsId: %d)", a_iId);
        return;
    }
    LOG_WARNING("Failed to insert DynDnsStatus for DynDnsId %d", a_iId);
}

void StatusInfoLog::updateStatus(IConfigClient& a_oClient, int a_iId, ConfigObject& a_oRow) const
{
    a_oRow.m_oLastSnapshot.remove(dbm::DynDnsStatus_DynDnsId); // the key is not written
    if (a_oClient.updatekey(
            dbm::Table_DynDnsStatus, dbm::DynDnsStatus_DynDnsId, std::to_string(a_iId), a_oRow.m_oLastSnapshot) == 0)
    {
        LOG_DEBUG("updatekey (DynDnsId: %d)", a_iId);
        return;
    }
    LOG_WARNING("Failed to update DynDnsStatus for DynDnsId %d", a_iId);
}

} // namespace quorvad
