// The cost of the configuration service and its client, in processor time and wall time of this process.
//   bench_service load CHUNKS      one transfer of the bytes of all tables, one round trip, and DynDns in pages
//   bench_service load-once 1      the daemon's first load
//   bench_service commits RUNS     transactions that change one row of DynDns, each with its own write access
//   bench_service page 1           all accounts in whole pages, for counting instructions
//   bench_service rows CHUNKS      whole-table reads of DynDns: row by row, and in pages
//   bench_service move NAME ADDRESS   one commit of an interface's address; prints the moment before it
//   bench_service outcomes RUNS    transactions as the daemon writes them for one outcome
#include "bench/programs/floors.h"
#include "bench/programs/measure.h"
#include "config/confighandler.h"
#include "config/rows.h"
#include "korrin/net/eventdispatcher.h"
#include "platform/wire/message.h"
#include "status/statusinfolog.h"
#include "vadro/cfg/notificationhandler.h"

#include <cstdlib>
#include <sys/resource.h>

namespace
{

using vadro::cfg::common::IConfigClient;

constexpr char s_acSocket[] = "/tmp/cfgserver.socket";

/// The measured work runs inside a delivery, as in the daemon.
class Delivery : public vadro::cfg::IConfigHandler
{
public:
    explicit Delivery(std::function<void(IConfigClient&)> a_oWork) : m_oWork(std::move(a_oWork)) {}
    void getTableNames(std::list<std::string>& a_oNames) override { a_oNames.emplace_back("DynDns"); }
    bool loadFromConfig(IConfigClient& a_oClient, const std::string& /*a_strTable*/) override
    {
        m_oWork(a_oClient);
        return true;
    }
    void onServiceEvent() override {}

private:
    std::function<void(IConfigClient&)> m_oWork;
};

void connectAnd(const std::function<void(IConfigClient&)>& a_oWork)
{
    korrin::net::EventDispatcher oDispatcher;
    vadro::cfg::NotificationHandler oNotifications(s_acSocket, oDispatcher, "bench", false, 10, 500, true, false);
    Delivery oDelivery(a_oWork);
    oNotifications.registerConfigHandler(&oDelivery);
    oNotifications.initialize();
    oDispatcher.handleEvents(1000);
    oNotifications.process();
}

void check(korrin::protocol::EResultCode a_oCode, IConfigClient& a_oClient)
{
    if (a_oCode != 0)
    {
        std::string strReason;
        a_oClient.getlasterror(strReason);
        bench::fail("The service refuses: " + strReason);
    }
}

std::size_t tableBytes(IConfigClient& a_oClient, const char* a_pTable)
{
    wire::Reply oReply;
    check(a_oClient.getrows(a_pTable, oReply.m_oRows), a_oClient);
    return wire::encode(oReply).size();
}

void load(IConfigClient& a_oClient, int a_iChunks)
{
    std::size_t uiBytes = 0;
    for (const char* pTable : {"DynDns", "StatusNetifWatch", "StatusNetIfIPv6Addresses", "DNSRelay", "DNSClientServer"})
    {
        uiBytes += tableBytes(a_oClient, pTable);
    }
    bench::Echo oEcho(uiBytes);
    bench::Echo oRoundTrip(1);
    bench::Report oReport;
    oReport.add("bytes", std::vector<double>{static_cast<double>(uiBytes)});
    oReport.add("floor", bench::measure(a_iChunks, 10, [&] { oEcho.ask(); }));
    oReport.add("roundtrip", bench::measure(a_iChunks, 100, [&] { oRoundTrip.ask(); }));
    oReport.add("page",
                bench::measure(a_iChunks,
                               1,
                               [&]
                               {
                                   std::list<korrin::ValueList> oRows;
                                   check(a_oClient.getrows("DynDns", oRows), a_oClient);
                               }));
    oReport.print();
}

/// How often this process has waited: once per round trip, unless the other end is faster.
double waits()
{
    rusage oUsage = {};
    getrusage(RUSAGE_SELF, &oUsage);
    return static_cast<double>(oUsage.ru_nvcsw);
}

void loadOnce(IConfigClient& a_oClient)
{
    quorvad::ConfigHandler oHandler;
    const double dWaits = waits();
    const double dWall = bench::wallMicros();
    const double dCpu = bench::cpuMicros();
    oHandler.loadFromConfig(a_oClient, "DynDns");
    bench::Report oReport;
    oReport.add("cpu", std::vector<double>{bench::cpuMicros() - dCpu});
    oReport.add("wall", std::vector<double>{bench::wallMicros() - dWall});
    oReport.add("waits", std::vector<double>{waits() - dWaits});
    oReport.add("accounts", std::vector<double>{static_cast<double>(oHandler.m_oDynDnsCfgs.size())});
    oReport.print();
}

void commits(IConfigClient& a_oClient, int a_iRuns)
{
    int iNumber = 0;
    bench::Report oReport;
    oReport.add("commit",
                bench::measure(a_iRuns,
                               20,
                               [&]
                               {
                                   korrin::ValueList oRow;
                                   oRow.add("Hostname", korrin::Value(4, "h" + std::to_string(++iNumber)));
                                   check(a_oClient.getdbaccess(), a_oClient);
                                   check(a_oClient.updatekey("DynDns", "Id", "1", oRow), a_oClient);
                                   check(a_oClient.commit(), a_oClient);
                               }));
    oReport.print();
}

void outcomes(IConfigClient& a_oClient, int a_iRuns)
{
    quorvad::StatusInfoLog oStore;
    for (int iRun = 0; iRun < a_iRuns; ++iRun)
    {
        quorvad::ConfigObject oLog("DynDnsLog", 0);
        quorvad::ConfigObject oStatus("DynDnsStatus", 0);
        for (quorvad::ConfigObject* pRow : {&oLog, &oStatus})
        {
            pRow->m_oLastSnapshot.add("DynDnsId", korrin::Value(2, 1));
            pRow->m_oLastSnapshot.add("Timestamp", korrin::Value(4, "2026-03-01T17:45:0" + std::to_string(iRun % 10)));
        }
        oLog.m_oLastSnapshot.add("ResponseCode", korrin::Value(2, 200));
        oLog.m_oLastSnapshot.add("Response", korrin::Value(4, "good 203.0.113.7"));
        oStatus.m_oLastSnapshot.add("Success", korrin::Value(2, 1));
        oStore.push(oLog, oStatus);
        oStore.commitChanges(a_oClient);
    }
    bench::Report().print();
}

void readRows(IConfigClient& a_oClient, int a_iChunks)
{
    unsigned int uiRows = 0;
    check(a_oClient.getrowcount("DynDns", uiRows), a_oClient);
    bench::Report oReport;
    oReport.add("rows", std::vector<double>{static_cast<double>(uiRows)});
    oReport.add(
        "single",
        bench::measure(a_iChunks, 1, [&] { quorvad::forEachRow(a_oClient, "DynDns", [](auto& /*a_oRow*/) {}); }));
    oReport.add("paged",
                bench::measure(a_iChunks,
                               1,
                               [&]
                               {
                                   std::list<korrin::ValueList> oRows;
                                   check(a_oClient.getrows("DynDns", oRows), a_oClient);
                               }));
    oReport.print();
}

void move(IConfigClient& a_oClient, const char* a_pName, const char* a_pAddress)
{
    korrin::ValueList oRow;
    oRow.add("Addr", korrin::Value(4, a_pAddress));
    check(a_oClient.getdbaccess(), a_oClient);
    check(a_oClient.updatekey("StatusNetifWatch", "Name", a_pName, oRow), a_oClient);
    const double dBefore = bench::wallMicros();
    check(a_oClient.commit(), a_oClient);
    bench::Report oReport;
    oReport.add("before", std::vector<double>{dBefore});
    oReport.add("after", std::vector<double>{bench::wallMicros()});
    oReport.print();
}

} // namespace

int main(int argc, char** argv)
{
    const std::string strMode = argc > 1 ? argv[1] : "";
    const int iNumber = argc == 3 ? bench::toNumber(argv[2]) : 0;
    if (argc < 3)
    {
        bench::fail("usage: see bench/programs/service.cpp");
    }
    connectAnd(
        [&](IConfigClient& a_oClient)
        {
            strMode == "load"        ? load(a_oClient, iNumber)
            : strMode == "load-once" ? loadOnce(a_oClient)
            : strMode == "commits"   ? commits(a_oClient, iNumber)
            : strMode == "outcomes"  ? outcomes(a_oClient, iNumber)
            : strMode == "page"      ? static_cast<void>(tableBytes(a_oClient, "DynDns"))
            : strMode == "rows"      ? readRows(a_oClient, iNumber)
                                     : move(a_oClient, argv[2], argv[3]);
        });
    return 0;
}
