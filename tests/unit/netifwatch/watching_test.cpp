#include "cfgctl/database.h"
#include "netifwatch/debounce.h"
#include "netifwatch/filewatch.h"
#include "netifwatch/reconciler.h"
#include "tests/unit/config/memoryclient.h"
#include "tests/unit/netifwatch/support.h"
#include "tests/unit/support/liveservice.h"
#include "tests/unit/support/logcapture.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace netifwatch;
using Outcome = Reconciler::Outcome;

namespace
{

std::string show(cfgctl::Session& a_oSession, const std::string& a_strTable)
{
    cfgctl::Database oDatabase(a_oSession.getClient());
    std::string strText;
    for (const korrin::ValueList& oRow : oDatabase.getRows(a_strTable))
    {
        strText += strText.empty() ? "" : "; ";
        for (const auto& [strColumn, oValue] : oRow)
        {
            strText += (strColumn == "Id" ? "" : " ") + oValue.getText();
        }
    }
    return strText;
}

void insert(cfgctl::Session& a_oSession, const std::string& a_strTable, const std::string& a_strCells)
{
    cfgctl::Database oDatabase(a_oSession.getClient());
    oDatabase.beginWrite(std::chrono::seconds(5));
    oDatabase.insertRow(a_strTable, makeRow(a_strCells));
    oDatabase.commit();
}

constexpr const char* s_pIPv4 = "StatusNetifWatch";
constexpr const char* s_pIPv6 = "StatusNetIfIPv6Addresses";
constexpr const char* s_pDns = "DNSClientServer";
const std::string s_strNoOrigin =
    "warning Table DNSClientServer has no column Origin; DNS servers are not written. Update "
    "the configuration service, or use --no-dns.";

struct Reconciling : testing::Test
{
    LiveService m_oService;
    Folder m_oFolder;
    cfgctl::Session m_oSession{m_oService.getSocket()};
    cfgctl::Session m_oOther{m_oService.getSocket()};
    InterfaceFilter m_oFilter{{}, {"docker*"}};
};

} // namespace

TEST_F(Reconciling, WritesDifferencesOnly)
{
    Reconciler oReconciler(m_oSession.getClient(), m_oFilter, {});
    insert(m_oOther, s_pIPv4, "Name=docker0 Addr=172.17.0.1"); // excluded: not ours
    insert(m_oOther, s_pIPv4, "Name=stale0 Addr=192.0.2.99");

    MachineState oState{
        {makeInterface(2, "a", true, {"192.0.2.1", "2001:db8::2", "2001:db8::1"}), makeInterface(3, "b", false)},
        ServersByName{{"a", {"192.0.2.53", "192.0.2.54"}}}};
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(m_oSession, s_pIPv4), "1 docker0 172.17.0.1 0; 3 a 192.0.2.1 1; 4 b  0");
    EXPECT_EQ(show(m_oSession, s_pIPv6), "1 a 2001:db8::1");
    EXPECT_EQ(show(m_oSession, s_pDns), "1 1 a 192.0.2.53 netifwatch; 2 1 a 192.0.2.54 netifwatch");
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Unchanged);

    // Two interfaces swap names, the lower IPv6 address goes and later returns, a server goes.
    oState = {{makeInterface(2, "b", true, {"192.0.2.1", "2001:db8::2"}), makeInterface(3, "a", false)},
              ServersByName{{"b", {"192.0.2.53"}}}};
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(m_oSession, s_pIPv4), "1 docker0 172.17.0.1 0; 3 a  0; 4 b 192.0.2.1 1");
    EXPECT_EQ(show(m_oSession, s_pIPv6), "2 b 2001:db8::2");
    oState.m_oInterfaces[0].m_oAddresses.push_back(makeAddress("2001:db8::1"));
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Unchanged);

    // A new watcher recognises the rows; a user's row on the interface displaces them.
    Reconciler oNext(m_oSession.getClient(), m_oFilter, {});
    oState.m_oServers = ServersByName{{"a", {"192.0.2.54"}}, {"b", {"192.0.2.55"}}};
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(m_oSession, s_pDns), "1 1 a 192.0.2.54 netifwatch; 3 1 b 192.0.2.55 netifwatch");
    insert(m_oOther, s_pDns, "Interface=b IPAddress=198.51.100.1");
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(m_oSession, s_pDns), "1 1 a 192.0.2.54 netifwatch; 4 1 b 198.51.100.1 ");
}

// Version 1.1 noted its rows in a file.
TEST_F(Reconciling, TakesOverNotedRows)
{
    const std::string strNotes =
        m_oFolder.write("notes", "# Id, interface, address.\nx\n1 a 192.0.2.53\n2 gone 192.0.2.54\n4 b 192.0.2.56\n");
    const std::string strForeign = m_oFolder.write("foreign", "1 b 192.0.2.53\n99999999999 a 192.0.2.53\n7 a\n");
    const MachineState oState{{makeInterface(2, "a", true)}, ServersByName{{"a", {"192.0.2.1"}}}};
    for (const char* pRow : {"Interface=a IPAddress=192.0.2.53",
                             "Interface=gone IPAddress=192.0.2.54",
                             "Interface=b IPAddress=192.0.2.55"})
    {
        insert(m_oOther, s_pDns, pRow);
    }
    const std::string strPipe = m_oFolder / "pipe";
    ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0);
    alarm(10); // nobody writes to it
    Reconciler oReconciler(m_oSession.getClient(), m_oFilter, {strNotes, m_oFolder / "missing", strPipe});
    alarm(0);
    ASSERT_EQ(m_oOther.getClient().getdbaccess(), 0U);
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Busy);
    ASSERT_EQ(m_oOther.getClient().dropdbaccess(), 0U);
    EXPECT_TRUE(std::filesystem::exists(strNotes)) << "nothing is marked yet";
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    const char* pMarked = "1 1 a 192.0.2.1 netifwatch; 2 1 gone 192.0.2.54 netifwatch; 3 1 b 192.0.2.55 ";
    EXPECT_EQ(show(m_oSession, s_pDns), pMarked);
    EXPECT_FALSE(std::filesystem::exists(strNotes));

    // Killed between commit and removal: doing it again is harmless. A file about another database stays.
    static_cast<void>(m_oFolder.write("notes", "2 gone 192.0.2.54\n"));
    EXPECT_EQ(Reconciler(m_oSession.getClient(), m_oFilter, {strNotes}).reconcile(oState), Outcome::Unchanged);
    EXPECT_EQ(Reconciler(m_oSession.getClient(), m_oFilter, {strForeign}).reconcile(oState), Outcome::Unchanged);
    EXPECT_EQ(show(m_oSession, s_pDns), pMarked);
    EXPECT_FALSE(std::filesystem::exists(strNotes));
    EXPECT_TRUE(std::filesystem::exists(strForeign));
}

/// A service whose DNSClientServer has no column Origin.
struct OlderClient : MemoryClient
{
    Result getrows(Text a_strTable, std::list<Row>& a_oRows) override
    {
        a_oRows.assign(m_oTables[a_strTable].begin(), m_oTables[a_strTable].end());
        return 0;
    }
    Result getcolumns(Text, Row& a_oColumns) override
    {
        a_oColumns = makeRow("Id=0 Enable=1 Interface= IPAddress=");
        return 0;
    }
};

TEST_F(Reconciling, LeavesServersAloneWithoutOrigin)
{
    OlderClient oClient;
    LogCapture oLog;
    Reconciler oReconciler(oClient, m_oFilter, {m_oFolder.write("notes", "1 a 192.0.2.53\n")});
    oClient.m_oTables[s_pDns] = {makeRow("Id=1 Enable=1 Interface=a IPAddress=192.0.2.53")};
    const MachineState oState{{makeInterface(2, "a", true)}, ServersByName{{"a", {"192.0.2.1"}}}};
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Unchanged);
    EXPECT_EQ(oClient.m_oTables[s_pIPv4].size(), 1U);
    EXPECT_EQ(oClient.m_oTables[s_pDns].front().getValue("IPAddress").getText(), "192.0.2.53");
    EXPECT_TRUE(std::filesystem::exists(m_oFolder / "notes"));
    EXPECT_EQ(std::count(oLog.lines().begin(), oLog.lines().end(), s_strNoOrigin), 1);
}

TEST_F(Reconciling, Problems)
{
    const MachineState oState{{makeInterface(2, "a", true, {"192.0.2.1"})}, ServersByName{{"a", {"192.0.2.53"}}}};
    Reconciler oReconciler(m_oSession.getClient(), m_oFilter, {});
    ASSERT_EQ(m_oOther.getClient().getdbaccess(), 0U);
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Busy);
    EXPECT_NE(oReconciler.getFailure(), "");
    ASSERT_EQ(m_oOther.getClient().dropdbaccess(), 0U);

    // The service refuses a server row: the interface is written nevertheless, and write access is given back.
    const MachineState oBad{oState.m_oInterfaces, ServersByName{{"a", {std::string(70000, 'x')}}}};
    EXPECT_EQ(oReconciler.reconcile(oBad), Outcome::Failed);
    EXPECT_THAT(oReconciler.getFailure(), testing::HasSubstr("Cannot write DNSClientServer: a"));
    EXPECT_EQ(show(m_oSession, s_pIPv4), "1 a 192.0.2.1 1");
    EXPECT_EQ(show(m_oSession, s_pDns), "");
    EXPECT_FALSE(m_oSession.getClient().hasdbaccess());
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);

    m_oService.stop();
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Failed);
    EXPECT_THAT(oReconciler.getFailure(), testing::HasSubstr("Cannot read table StatusNetifWatch"));
}

TEST(Watching, DebounceIsBounded)
{
    using namespace std::chrono_literals;
    const Debounce::Clock::time_point oStart;
    Debounce oDebounce(200ms, 2s);
    EXPECT_EQ(oDebounce.note(oStart), oStart + 200ms);
    EXPECT_EQ(oDebounce.note(oStart + 1700ms), oStart + 1900ms);
    EXPECT_EQ(oDebounce.note(oStart + 1900ms), oStart + 2s);
    EXPECT_EQ(oDebounce.note(oStart + 9s), oStart + 2s);
    oDebounce.reset();
    EXPECT_EQ(oDebounce.note(oStart + 9s), oStart + 9200ms);
}

TEST(Watching, FilesChangedInEveryWay)
{
    namespace fs = std::filesystem;
    const Folder oFolder;
    const std::string strLink = oFolder / "etc/resolv.conf";
    const std::string strTarget = oFolder / "run/resolve/stub.conf";
    fs::create_directory(oFolder / "etc");
    platform::EventLoop oLoop;
    int iHints = 0;
    const FileWatch oWatch(oLoop, {strLink}, [&] { ++iHints; });
    const auto hinted = [&](const std::function<void()>& a_oChange)
    {
        a_oChange();
        iHints = 0;
        for (int iTurn = 0; iTurn < 20; ++iTurn)
        {
            oLoop.wait(iTurn == 0 ? 0 : 1);
        }
        return iHints > 0;
    };
    const auto write = [&](const std::string& a_strName) { static_cast<void>(oFolder.write(a_strName, "x")); };
    const auto replace = [&](const std::string& a_strName)
    { fs::rename(oFolder.write("new", "x"), oFolder / a_strName); };
    EXPECT_TRUE(hinted([&] { write("etc/resolv.conf"); }));
    EXPECT_FALSE(hinted([&] { write("etc/hosts"); }));
    EXPECT_FALSE(hinted([&] { write("new"); }));
    EXPECT_TRUE(hinted([&] { replace("etc/resolv.conf"); }));
    EXPECT_TRUE(hinted([&] { write("etc/resolv.conf"); }));
    EXPECT_TRUE(hinted(
        [&]
        {
            fs::remove(strLink);
            fs::create_symlink("../run/resolve/stub.conf", strLink);
        }));
    EXPECT_TRUE(hinted([&] { fs::create_directories(oFolder / "run/resolve"); }));
    EXPECT_TRUE(hinted([&] { write("run/resolve/stub.conf"); }));
    EXPECT_TRUE(hinted([&] { replace("run/resolve/stub.conf"); }));
    EXPECT_FALSE(hinted([&] { write("run/resolve/other"); }));
    EXPECT_TRUE(hinted([&] { fs::remove_all(oFolder / "run"); }));
    EXPECT_TRUE(hinted(
        [&]
        {
            fs::create_directories(oFolder / "run/resolve");
            write("run/resolve/stub.conf");
        }));
    EXPECT_TRUE(hinted([&] { write("run/resolve/stub.conf"); }));
    fs::create_hard_link(strTarget, oFolder / "behind"); // as through a bind mount: the file under another name
    EXPECT_TRUE(hinted([&] { write("behind"); }));
}
