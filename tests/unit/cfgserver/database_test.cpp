#include "cfgserver/statefile.h"
#include "samples.h"
#include "tests/unit/support/logcapture.h"

#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>

#include <csignal>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace cfgserver;
using namespace samples;
using testing::HasSubstr;

namespace
{

int modeOf(const std::string& a_strFile)
{
    return static_cast<int>(std::filesystem::status(a_strFile).permissions());
}

struct DatabaseTest : testing::Test
{
    Folder m_oFolder;
    std::string m_strFile = m_oFolder / "config.db";

    void change(const std::function<void(Transaction&)>& a_oChange)
    {
        Database oDatabase(m_strFile);
        Store oStore(oDatabase);
        Transaction oTransaction(oStore);
        a_oChange(oTransaction);
        EXPECT_FALSE(oStore.commit(oTransaction).empty());
    }

    std::string read(const char* a_pTable, const char* a_pColumn)
    {
        Database oDatabase(m_strFile);
        return columnOf(Store(oDatabase).getTable(tableOf(a_pTable)), a_pColumn);
    }

    std::string failureToOpen() { return failureOf(m_strFile); }

    static std::string failureOf(const std::string& a_strFile)
    {
        return samples::failureOf(
            [&]
            {
                Database oDatabase(a_strFile);
                const Store oStore(oDatabase);
            });
    }

    /// A file with a damaged page, beside the log that a killed service leaves.
    void leaveDamaged()
    {
        const std::string strLive = m_oFolder / "live.db";
        EXPECT_EQ(failureOf(strLive), "");
        Database oDatabase(strLive);
        Store oStore(oDatabase);
        Transaction oTransaction(oStore);
        oTransaction.edit(tableOf("etl")).update("Id", "1", row({{"serial_no", text("S1")}}));
        EXPECT_EQ(oStore.commit(oTransaction).size(), 1U);
        std::filesystem::copy_file(strLive + "-wal", m_strFile + "-wal");
        std::filesystem::rename(strLive, m_strFile);
        std::fstream oFile(m_strFile, std::ios::in | std::ios::out);
        oFile.seekp(1024) << std::string(99, '\xff');
    }

    /// The number of files, and mode and contents of the database and its log.
    std::string snapshot()
    {
        const auto iFiles = std::distance(std::filesystem::directory_iterator(m_oFolder / ""), {});
        return std::to_string(iFiles) + "," + std::to_string(modeOf(m_strFile)) + "," +
               std::to_string(modeOf(m_strFile + "-wal")) + contentOf(m_strFile) + contentOf(m_strFile + "-wal");
    }

    void sql(const char* a_pQuery)
    {
        SQLite::Database(m_strFile, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(a_pQuery);
    }
};

} // namespace

TEST_F(DatabaseTest, KeepsCommittedRowsInOrder)
{
    const std::size_t uiLog = tableOf("DynDnsLog");
    const std::string strOdd("\0'\"\xff\xf0\n;--", 9);
    change(
        [&](Transaction& a_oWrites)
        {
            for (int i = 0; i < 5; ++i)
            {
                a_oWrites.edit(uiLog).insert(row({{"ResponseCode", integer(-i)}, {"Response", text(strOdd)}}));
            }
            a_oWrites.edit(tableOf("StatusNetifWatch")).insert(row({{"Name", text("eth0")}}));
        });
    change(
        [&](Transaction& a_oWrites)
        {
            Table& oLog = a_oWrites.edit(uiLog);
            oLog.erase(1);
            oLog.update("Id", "4", row({{"ResponseCode", integer(44)}}));
            oLog.erase(3);
            oLog.insert(row({{"Id", integer(2)}, {"ResponseCode", integer(22)}}));
        });
    EXPECT_EQ(read("DynDnsLog", "ResponseCode"), "0,-2,44,22");
    EXPECT_EQ(read("DynDnsLog", "Id"), "1,3,4,2");
    EXPECT_EQ(read("DynDnsLog", "Response"), strOdd + "," + strOdd + "," + strOdd + ",");
    EXPECT_EQ(read("StatusNetifWatch", "Name"), "") << "kept in memory only";
    EXPECT_EQ(read("DNSRelay", "Id") + read("etl", "Id"), "11");
    change([&](Transaction& a_oWrites) { a_oWrites.edit(uiLog).insert({}); });
    EXPECT_EQ(read("DynDnsLog", "Id"), "1,3,4,2,6") << "Id 5 belonged to a deleted row";
}

TEST_F(DatabaseTest, TheFileIsPrivateAndLocked)
{
    const mode_t uiOldMask = ::umask(0);
    const Database oDatabase(m_oFolder / "new/config.db");
    EXPECT_EQ(modeOf(m_oFolder / "new/config.db"), 0600);
    EXPECT_EQ(modeOf(m_oFolder / "new/config.db-wal"), 0600);
    EXPECT_THAT(failureOf(m_oFolder / "new/config.db"), HasSubstr("used by another process"));
    std::ofstream(m_strFile).close();
    ::umask(uiOldMask);
    EXPECT_EQ(modeOf(m_strFile), 0666);
    EXPECT_EQ(failureToOpen(), "");
    EXPECT_EQ(modeOf(m_strFile), 0600);
}

TEST_F(DatabaseTest, ErrorsNameThePathAndTheReason)
{
    EXPECT_THAT(failureOf(m_oFolder / "a/b/c.db"), HasSubstr("a/b/: No such file or directory"));
    EXPECT_THAT(failureOf(m_oFolder / ""), HasSubstr("no file name"));
    EXPECT_THAT(failureOf("/proc/config.db"), HasSubstr("/proc/"));
    std::filesystem::create_symlink("elsewhere", m_oFolder / "link.db");
    EXPECT_THAT(failureOf(m_oFolder / "link.db"), HasSubstr("not a regular file"));
}

TEST_F(DatabaseTest, RefusedFilesAreNotModified)
{
    const std::pair<std::function<void()>, const char*> oCases[] = {
        {[&] { std::ofstream(m_strFile) << std::string(5000, 'x'); }, " is damaged or not a database"},
        {[&] { sql("CREATE TABLE cookies (a)"); }, "belongs to another program"},
        {[&] { sql("PRAGMA journal_mode=WAL; CREATE TABLE cookies (a)"); }, "belongs to another program"},
        {[&] { sql("PRAGMA application_id=0x71636667; PRAGMA user_version=2"); }, "(version 2, this one supports 1)"},
        {[&] { leaveDamaged(); }, " is damaged or not a database"},
    };
    for (const auto& [oPrepare, pReason] : oCases)
    {
        oPrepare();
        ::chmod(m_strFile.c_str(), 0644);
        const std::string strBefore = snapshot();
        EXPECT_THAT(failureToOpen(), HasSubstr(m_strFile));
        EXPECT_THAT(failureToOpen(), HasSubstr(pReason));
        EXPECT_TRUE(snapshot() == strBefore) << pReason;
        std::filesystem::remove(m_strFile);
    }
}

TEST_F(DatabaseTest, OlderFilesGetNewTablesAndColumns)
{
    const std::size_t uiDynDns = tableOf("DynDns");
    change(
        [&](Transaction& a_oWrites) {
            a_oWrites.edit(uiDynDns).insert(row({{"Retry", integer(9)}, {"Hostname", text("kept")}}));
        });
    sql("PRAGMA journal_mode=DELETE; DROP TABLE etl; ALTER TABLE DynDns DROP COLUMN Retry");
    EXPECT_EQ(read("etl", "serial_no"), "Sxxxxxxxxxxxx");
    EXPECT_EQ(read("DynDns", "Retry") + read("DynDns", "Hostname"), "5kept");
    change([&](Transaction& a_oWrites) { a_oWrites.edit(uiDynDns).update("Id", "1", row({{"Retry", integer(7)}})); });
    EXPECT_EQ(read("DynDns", "Retry"), "7");
}

TEST_F(DatabaseTest, HandEditedFilesAreChecked)
{
    EXPECT_EQ(failureToOpen(), "");
    sql("PRAGMA journal_mode=DELETE; INSERT INTO DynDns (Id) VALUES (3)");
    sql("INSERT INTO DynDns (Id) VALUES (3)");
    EXPECT_THAT(failureToOpen(), HasSubstr("table DynDns already has a row with Id '3'"));
    sql("DELETE FROM DynDns; INSERT INTO DynDns (Id) VALUES ('x')");
    EXPECT_THAT(failureToOpen(), HasSubstr("column Id of table DynDns takes an integer"));
    sql("DELETE FROM DynDns; INSERT INTO DNSRelay (Id) VALUES (2)");
    EXPECT_THAT(failureToOpen(), HasSubstr("table DNSRelay must have one row"));
}

TEST_F(DatabaseTest, AFailedCommitLeavesDiskAndMemoryAsTheyWere)
{
    const std::size_t uiDynDns = tableOf("DynDns");
    change([&](Transaction& a_oWrites) { a_oWrites.edit(uiDynDns).insert(row({{"Hostname", text("old")}})); });
    {
        Database oDatabase(m_strFile);
        Store oStore(oDatabase);
        Transaction oTransaction(oStore);
        for (int i = 0; i < 40; ++i)
        {
            oTransaction.edit(uiDynDns).insert(row({{"Password", text(std::string(g_uiMaxText, 'p'))}}));
        }
        const auto pOld = std::signal(SIGXFSZ, SIG_IGN);
        rlimit oOld = {};
        ::getrlimit(RLIMIT_FSIZE, &oOld);
        const rlimit oSmall = {1000000, oOld.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &oSmall);
        const auto oRefused = refusalOf([&] { (void)oStore.commit(oTransaction); });
        ::setrlimit(RLIMIT_FSIZE, &oOld);
        std::signal(SIGXFSZ, pOld);
        EXPECT_EQ(oRefused.first, wire::Result::StorageFailed);
        EXPECT_THAT(oRefused.second, HasSubstr(m_strFile));
        EXPECT_EQ(columnOf(oStore.getTable(uiDynDns), "Hostname"), "old");
        Transaction oNext(oStore);
        oNext.edit(uiDynDns).update("Id", "1", row({{"Hostname", text("new")}}));
        EXPECT_EQ(oStore.commit(oNext).size(), 1U);
    }
    EXPECT_EQ(read("DynDns", "Hostname"), "new");
}

// A power cut leaves the log cut or torn anywhere. Every such state must open with one whole version; a torn database
// file may be refused, and is then not modified.
TEST_F(DatabaseTest, TornFilesGiveAWholeVersionOrAreRefusedUntouched)
{
    std::string strFile;
    std::string strLog;
    {
        Database oDatabase(m_strFile);
        Store oStore(oDatabase);
        for (int iVersion = 1; iVersion <= 6; ++iVersion)
        {
            Transaction oTransaction(oStore);
            Table& oTable = oTransaction.edit(tableOf("DynDns"));
            for (int iRow = 0; iRow < 3; ++iRow)
            {
                iVersion > 1 ? oTable.erase(0) : void();
                oTable.insert(row({{"Retry", integer(iVersion)}}));
            }
            EXPECT_EQ(oStore.commit(oTransaction).size(), 1U);
        }
        strFile = contentOf(m_strFile);
        strLog = contentOf(m_strFile + "-wal");
    }
    const std::string strWhole = contentOf(m_strFile); // closing has merged the log into it
    std::set<std::string> oFound;
    const auto open = [&](const std::string& a_strFile, const std::string& a_strLog)
    {
        std::ofstream(m_strFile, std::ios::binary) << a_strFile;
        std::ofstream(m_strFile + "-wal", std::ios::binary) << a_strLog;
        if (const std::string strFailure = failureToOpen(); !strFailure.empty())
        {
            EXPECT_THAT(strFailure, HasSubstr(m_strFile + " is damaged"));
            EXPECT_EQ(contentOf(m_strFile), a_strFile);
            return false;
        }
        oFound.insert(read("DynDns", "Retry"));
        return true;
    };
    const auto tear = [](std::string a_strBytes, std::size_t a_uiAt) {
        return a_strBytes.replace(
            a_uiAt, 512, std::string(std::min<std::size_t>(512, a_strBytes.size() - a_uiAt), '#'));
    };
    EXPECT_TRUE(open(strFile, strLog));
    for (std::size_t uiAt = 0; uiAt <= strLog.size(); uiAt += 1021)
    {
        EXPECT_TRUE(open(strFile, strLog.substr(0, uiAt)) && open(strFile, tear(strLog, uiAt))) << uiAt;
    }
    unsigned uiRefused = 0;
    for (std::size_t uiAt = 1021; uiAt < strWhole.size(); uiAt += 1021)
    {
        uiRefused += (open(strWhole.substr(0, uiAt), "") ? 0U : 1U) + (open(tear(strWhole, uiAt), "") ? 0U : 1U);
    }
    EXPECT_GT(uiRefused, strWhole.size() / 1021) << "every cut file must be refused";
    EXPECT_THAT(oFound, testing::ElementsAre("", "1,1,1", "2,2,2", "3,3,3", "4,4,4", "5,5,5", "6,6,6"));
}

TEST(StateFile, KeepsStateTablesOverARestart)
{
    const Folder oFolder("/dev/shm");
    const std::string strFolder = oFolder / "";
    Database oDatabase(":memory:");
    LogCapture oLog;
    const auto restart = [&](const std::string& a_strFolder, const char* a_pInterface)
    {
        StateFile oState(a_strFolder);
        Store oStore(oDatabase, &oState);
        std::string strFound = columnOf(oStore.getTable(tableOf("StatusNetifWatch")), "Name");
        Transaction oWrites(oStore);
        oWrites.edit(tableOf("StatusNetifWatch")).insert(row({{"Name", text(a_pInterface)}}));
        EXPECT_EQ(oStore.commit(oWrites).size(), 1U);
        return strFound;
    };
    EXPECT_EQ(restart(strFolder, "ppp0"), "");
    EXPECT_EQ(restart(strFolder, "ppp1"), "ppp0");
    EXPECT_EQ(modeOf(oFolder / "state.db"), 0600);
    EXPECT_EQ(oLog.take(), "");
    {
        const StateFile oLiving(strFolder); // of another service: it is neither read nor touched
        EXPECT_EQ(restart(strFolder, "ppp9"), "");
        EXPECT_THAT(oLog.take(),
                    HasSubstr("not kept over a restart: database file " + oFolder / "state.db is used by"));
    }
    EXPECT_EQ(restart(strFolder, "ppp2"), "ppp0,ppp1");
    // A damaged file is of no use; its place is.
    static_cast<void>(oFolder.write("state.db", std::string(5000, 'x')));
    EXPECT_EQ(restart(strFolder, "ppp3"), "");
    EXPECT_THAT(oLog.take(), HasSubstr("of before the restart are lost: database file "));
    EXPECT_EQ(restart(strFolder, "ppp4"), "ppp3");
    // A file on a disk would survive a reboot, and writing it would wear the disk.
    EXPECT_EQ(restart("/proc", "ppp5"), "");
    EXPECT_THAT(oLog.take(), HasSubstr("/proc is not a folder of a memory file system"));
}
