#include "netifwatch/debounce.h"
#include "netifwatch/filewatch.h"
#include "netifwatch/reconciler.h"
#include "tests/unit/cfgctl/liveservice.h"
#include "tests/unit/netifwatch/support.h"
#include "tests/unit/support/logcapture.h"

#include <filesystem>
#include <gtest/gtest.h>

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

void insert(cfgctl::Session& a_oSession,
            const std::string& a_strTable,
            const std::map<std::string, std::string>& a_oRow)
{
    cfgctl::Database oDatabase(a_oSession.getClient());
    korrin::ValueList oRow;
    for (const auto& [strColumn, strValue] : a_oRow)
    {
        oRow.add(strColumn, korrin::Value(korrin::eValueText, strValue));
    }
    oDatabase.beginWrite(std::chrono::seconds(5));
    oDatabase.insertRow(a_strTable, oRow);
    oDatabase.commit();
}

constexpr const char* s_pIPv4 = "StatusNetifWatch";
constexpr const char* s_pIPv6 = "StatusNetIfIPv6Addresses";
constexpr const char* s_pDns = "DNSClientServer";

} // namespace

TEST(Reconciling, WritesDifferencesOnly)
{
    LiveService oService;
    Folder oFolder;
    cfgctl::Session oSession(oService.getSocket());
    cfgctl::Session oOther(oService.getSocket());
    const InterfaceFilter oFilter({}, {"docker*"});
    Reconciler oReconciler(oSession.getClient(), oFilter, oFolder / "rows");
    insert(oOther, s_pIPv4, {{"Name", "docker0"}, {"Addr", "172.17.0.1"}}); // left out: not ours to judge
    insert(oOther, s_pIPv4, {{"Name", "stale0"}, {"Addr", "192.0.2.99"}});

    MachineState oState{
        {makeInterface(2, "a", true, {"192.0.2.1", "2001:db8::2", "2001:db8::1"}), makeInterface(3, "b", false)},
        ServersByName{{"a", {"192.0.2.53", "192.0.2.54"}}}};
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(oSession, s_pIPv4), "1 docker0 172.17.0.1 0; 3 a 192.0.2.1 1; 4 b  0");
    EXPECT_EQ(show(oSession, s_pIPv6), "1 a 2001:db8::1");
    EXPECT_EQ(show(oSession, s_pDns), "1 1 a 192.0.2.53 ; 2 1 a 192.0.2.54 ");
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Unchanged);

    // Two interfaces swap names, the lower IPv6 address comes back after the other took its place, a server goes.
    oState = {{makeInterface(2, "b", true, {"192.0.2.1", "2001:db8::2"}), makeInterface(3, "a", false)},
              ServersByName{{"b", {"192.0.2.53"}}}};
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(oSession, s_pIPv4), "1 docker0 172.17.0.1 0; 3 a  0; 4 b 192.0.2.1 1");
    EXPECT_EQ(show(oSession, s_pIPv6), "2 b 2001:db8::2");
    oState.m_oInterfaces[0].m_oAddresses.push_back(makeAddress("2001:db8::1"));
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Unchanged);

    // Another watcher knows the rows again by the file.
    Reconciler oNext(oSession.getClient(), oFilter, oFolder / "rows");
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Unchanged);
    oState.m_oServers = ServersByName{{"a", {"192.0.2.54"}}, {"b", {"192.0.2.55"}}};
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(oSession, s_pDns), "1 1 a 192.0.2.54 ; 3 1 b 192.0.2.55 ");
    // Without it they are a stranger's.
    std::filesystem::remove(oFolder / "rows");
    oState.m_oServers = ServersByName{{"a", {"192.0.2.1"}}};
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Unchanged);
    // Somebody's row on the interface makes the own ones go; another's wish of none leaves the table alone.
    oState.m_oServers = ServersByName{{"c", {"192.0.2.1"}}};
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Written);
    insert(oOther, s_pDns, {{"Interface", "c"}, {"IPAddress", "198.51.100.1"}});
    EXPECT_EQ(oNext.reconcile(oState), Outcome::Written);
    EXPECT_EQ(show(oSession, s_pDns), "1 1 a 192.0.2.54 ; 3 1 b 192.0.2.55 ; 5 1 c 198.51.100.1 ");
}

TEST(Reconciling, Problems)
{
    LiveService oService;
    const Folder oFolder;
    cfgctl::Session oSession(oService.getSocket());
    cfgctl::Session oOther(oService.getSocket());
    const InterfaceFilter oFilter({}, {});
    const MachineState oState{{makeInterface(2, "a", true, {"192.0.2.1"})}, ServersByName{{"a", {"192.0.2.53"}}}};

    // The file of own rows can't be written: no row of which nobody would know whose it is; the interface is told.
    Reconciler oUnwritable(oSession.getClient(), oFilter, oFolder / "no/such/folder/rows");
    EXPECT_EQ(oUnwritable.reconcile(oState), Outcome::Failed);
    EXPECT_THAT(oUnwritable.getFailure(), testing::HasSubstr("no/such/folder/rows"));
    EXPECT_EQ(show(oSession, s_pIPv4), "1 a 192.0.2.1 1");
    EXPECT_EQ(show(oSession, s_pDns), "");
    EXPECT_FALSE(oSession.getClient().hasdbaccess());

    Reconciler oReconciler(oSession.getClient(), oFilter, oFolder / "rows");
    ASSERT_EQ(oOther.getClient().getdbaccess(), 0U);
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Busy);
    EXPECT_NE(oReconciler.getFailure(), "");
    ASSERT_EQ(oOther.getClient().dropdbaccess(), 0U);
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Written);

    oService.stop();
    EXPECT_EQ(oReconciler.reconcile(oState), Outcome::Failed);
    EXPECT_THAT(oReconciler.getFailure(), testing::HasSubstr("Can't read table StatusNetifWatch"));
}

TEST(Watching, QuietTimeIsBounded)
{
    using namespace std::chrono_literals;
    const Debounce::Clock::time_point oStart;
    Debounce oQuiet(200ms, 2s);
    EXPECT_EQ(oQuiet.note(oStart), oStart + 200ms);
    EXPECT_EQ(oQuiet.note(oStart + 1700ms), oStart + 1900ms);
    EXPECT_EQ(oQuiet.note(oStart + 1900ms), oStart + 2s);
    EXPECT_EQ(oQuiet.note(oStart + 9s), oStart + 2s);
    oQuiet.reset();
    EXPECT_EQ(oQuiet.note(oStart + 9s), oStart + 9200ms);
}

TEST(Watching, FilesInEveryWay)
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
    EXPECT_TRUE(hinted([&] { write("etc/resolv.conf"); }));
    EXPECT_FALSE(hinted([&] { write("etc/hosts"); }));
    EXPECT_TRUE(hinted(
        [&]
        {
            write("etc/new");
            fs::rename(oFolder / "etc/new", strLink);
        }));
    EXPECT_TRUE(hinted([&] { write("etc/resolv.conf"); }));
    EXPECT_TRUE(hinted(
        [&]
        {
            fs::remove(strLink);
            fs::create_symlink("../run/resolve/stub.conf", strLink);
        }));
    EXPECT_TRUE(hinted([&] { fs::create_directories(oFolder / "run/resolve"); }));
    EXPECT_TRUE(hinted([&] { write("run/resolve/stub.conf"); }));
    EXPECT_TRUE(hinted(
        [&]
        {
            write("run/resolve/new");
            fs::rename(oFolder / "run/resolve/new", strTarget);
        }));
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
