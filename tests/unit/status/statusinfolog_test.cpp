#include "status/statusinfolog.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/support/logcapture.h"

#include <atomic>
#include <climits>
#include <cstdlib>
#include <thread>

using namespace quorvad;
using testing::HasSubstr;
using testing::IsEmpty;

static long s_iPausedUs = 0;

// Stands in for the C library's, so that a minute of refused requests costs no time.
extern "C" int usleep(useconds_t a_uiMicroseconds)
{
    s_iPausedUs += a_uiMicroseconds;
    return 0;
}

namespace
{

void push(StatusInfoLog& a_oStore, const std::string& a_strLog, const std::string& a_strStatus)
{
    ConfigObject oLog("DynDnsLog", 1), oStatus("DynDnsStatus", 1);
    oLog.m_oLastSnapshot = makeRow(a_strLog);
    oStatus.m_oLastSnapshot = makeRow(a_strStatus);
    a_oStore.push(oLog, oStatus);
    EXPECT_TRUE(oLog.m_oLastSnapshot.empty() && oStatus.m_oLastSnapshot.empty());
}

void report(StatusInfoLog& a_oStore, int a_iId, const std::string& a_strTime)
{
    const std::string strRow = "DynDnsId=" + std::to_string(a_iId) + " Timestamp=" + a_strTime;
    push(a_oStore, strRow, strRow);
}

} // namespace

TEST(StatusInfoLog, WritesTheNewestOfEachAccountOnce)
{
    StatusInfoLog oStore;
    MemoryClient oClient;
    oClient.m_oTables["DynDnsStatus"] = {makeRow("DynDnsId=3 Timestamp=old")};
    report(oStore, 5, "t1");
    report(oStore, 3, "t2");
    report(oStore, 3, "t3");
    const std::string strLog = logOf([&] { oStore.commitChanges(oClient); });
    for (const char* pLines : {"debug For DynDNS id 3 found latest elem ts 't3'\n",
                               "debug For DynDNS id 5 found latest elem ts 't1'\n",
                               "debug insertrow (DynDnsId: 3 , ts: 't3')\n",
                               "debug saveStatus\ndebug updatekey (DynDnsId: 3)\ndebug insertrow (DynDnsId: 5)\n"})
    {
        EXPECT_THAT(strLog, HasSubstr(pLines));
    }
    EXPECT_EQ(oClient.m_oTables["DynDnsLog"].size(), 2U);
    for (const char* pTable : {"DynDnsLog", "DynDnsStatus"})
    {
        EXPECT_EQ(oClient.find(pTable, "DynDnsId", "3")->getValue("Timestamp").getText(), "t3") << pTable;
        EXPECT_EQ(oClient.find(pTable, "DynDnsId", "5")->getValue("Timestamp").getText(), "t1") << pTable;
    }
    EXPECT_THAT(testing::PrintToString(oClient.m_oCalls),
                testing::EndsWith("\"getrowbykey DynDnsStatus 3\", \"updatekey DynDnsStatus 3\", "
                                  "\"getrowbykey DynDnsStatus 5\", \"insertrow DynDnsStatus 5\", \"commit\" }"));
    oClient.m_oCalls.clear();
    oStore.commitChanges(oClient);
    EXPECT_THAT(oClient.m_oCalls, IsEmpty());
}

TEST(StatusInfoLog, TrimsTheOldestRowsFirst)
{
    const std::tuple<int, bool, std::size_t, long, int> aoCases[] = {
        {57, false, 52, 7, 7}, {50, false, 52, 0, 0}, {57, true, 59, 21, 0}};
    for (const auto& [iBefore, bRefused, uiAfter, iDeletions, iFirst] : aoCases)
    {
        StatusInfoLog oStore;
        MemoryClient oClient;
        for (int iRow = 0; iRow < iBefore; ++iRow)
        {
            oClient.m_oTables["DynDnsLog"].push_back(makeRow("DynDnsId=" + std::to_string(iRow)));
        }
        oClient.m_oRefused = {bRefused ? "deleterow DynDnsLog" : ""};
        report(oStore, 1, "t");
        report(oStore, 2, "t");
        const std::string strLog = logOf([&] { oStore.commitChanges(oClient); });
        EXPECT_THAT(strLog, testing::StartsWith("debug commitChanges\ndebug For DynDNS id "));
        EXPECT_THAT(strLog,
                    HasSubstr("debug cleanupDynDnsLog\n" +
                              (iDeletions == 0 ? "debug insertrow (DynDnsId: "
                               : bRefused      ? "debug Entries to delete: 7\ndebug insertrow (DynDnsId: "
                                          : std::string("debug Entries to delete: 7\ndebug deleterow entry no. 1\n"))));
        EXPECT_EQ(strLog.find("debug deleterow entry no. 7\ndebug insertrow") != std::string::npos, iFirst == 7);
        EXPECT_EQ(oClient.m_oTables["DynDnsLog"].size(), uiAfter);
        EXPECT_EQ(oClient.calls("deleterow DynDnsLog"), iDeletions);
        EXPECT_EQ(oClient.m_oTables["DynDnsLog"].front().getValue("DynDnsId").getInteger(), iFirst);
    }
}

TEST(StatusInfoLog, AsksForWriteAccessABoundedNumberOfTimes)
{
    const std::tuple<bool, int, long, int, bool> aoCases[] = {
        {true, 0, 0, 0, true}, {false, 2, 3, 2, true}, {false, 120, 121, 120, true}, {false, 121, 121, 120, false}};
    for (const auto& [bHeld, iRefused, iRequests, iPauses, bWritten] : aoCases)
    {
        LogCapture oLog;
        StatusInfoLog oStore;
        MemoryClient oClient;
        oClient.m_bAccess = bHeld;
        oClient.m_iRefusedRequests = iRefused;
        s_iPausedUs = 0;
        report(oStore, 1, "t");
        oStore.commitChanges(oClient);
        EXPECT_EQ(oClient.calls("getdbaccess"), iRequests);
        EXPECT_EQ(s_iPausedUs, iPauses * 500000L);
        EXPECT_EQ(oClient.calls("commit") == 1 && oClient.calls("insertrow DynDnsLog 1") == 1, bWritten);
        EXPECT_EQ(oLog.has("warning Failed to get DB access"), !bWritten);
        EXPECT_TRUE(oStore.getLogs().empty() && oStore.getStatus().empty());
    }
}

TEST(StatusInfoLog, ABadRowCostsNoOther)
{
    LogCapture oLog;
    StatusInfoLog oStore;
    MemoryClient oClient;
    oClient.m_oTables["DynDnsStatus"] = {makeRow("DynDnsId=3")};
    oClient.m_oRefused = {"updatekey DynDnsStatus 3", "insertrow DynDnsStatus 4", "insertrow DynDnsLog 3"};
    push(oStore, "Timestamp=t0", "");
    report(oStore, 5, "t");
    report(oStore, 4, "t");
    report(oStore, 3, "t");
    EXPECT_THAT([&] { push(oStore, "DynDnsId=9", "Success=1"); },
                Asserts("4) at statusinfolog:41: true == a_status.hasValue(dbm::DynDnsStatus_DynDnsId)"));
    oStore.commitChanges(oClient);
    EXPECT_NE(oClient.find("DynDnsLog", "DynDnsId", "9"), nullptr) << "the log row was to stay queued";
    EXPECT_NE(oClient.find("DynDnsStatus", "DynDnsId", "5"), nullptr);
    EXPECT_EQ(oClient.m_oTables["DynDnsLog"].size(), 3U);
    EXPECT_EQ(oClient.m_oCalls.back(), "commit");
    EXPECT_TRUE(oLog.has("warning Skipping a DynDnsLog row without column DynDnsId."));
    EXPECT_TRUE(oLog.has("warning Failed to update DynDnsStatus for DynDnsId 3"));
    EXPECT_TRUE(oLog.has("warning Failed to insert DynDnsStatus for DynDnsId 4"));
}

TEST(StatusInfoLog, LosesNoNewestReportOfConcurrentWorkers)
{
    StatusInfoLog oStore;
    oStore.m_uiMaxLogEntries = UINT_MAX;
    MemoryClient oClient;
    std::atomic<int> iRunning{16};
    const auto work = [&](int a_iId)
    {
        for (int iReport = 0; iReport < 500; ++iReport)
        {
            report(oStore, a_iId, std::to_string(iReport));
        }
        --iRunning;
    };
    std::vector<std::thread> oWorkers;
    for (int iId = 1; iId <= 16; ++iId)
    {
        oWorkers.emplace_back(work, iId);
    }
    for (bool bLast = false; !bLast;)
    {
        bLast = iRunning == 0;
        oStore.commitChanges(oClient);
    }
    std::for_each(oWorkers.begin(), oWorkers.end(), [](std::thread& a_oWorker) { a_oWorker.join(); });
    const auto isLast = [](const auto& a_oRow) { return a_oRow.getValue("Timestamp").getText() == "499"; };
    for (const char* pTable : {"DynDnsLog", "DynDnsStatus"})
    {
        EXPECT_EQ(std::count_if(oClient.m_oTables[pTable].begin(), oClient.m_oTables[pTable].end(), isLast), 16);
    }
}

TEST(IsoTime, FollowsTheCurrentZone)
{
    for (const auto& [pZone, pOffset] : {std::pair("AAA-1", "[+]0100"), std::pair("BBB3:30", "-0330")})
    {
        ASSERT_EQ(setenv("TZ", pZone, 1), 0);
        EXPECT_THAT(currentTimeToIsoFormat(),
                    testing::MatchesRegex(
                        std::string("[0-9]{4}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]") + pOffset));
    }
    unsetenv("TZ");
}
