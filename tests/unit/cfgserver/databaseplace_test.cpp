#include "samples.h"
#include "tests/unit/support/logcapture.h"

#include <gmock/gmock.h>

#include <tuple>

using namespace cfgserver;
using namespace samples;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace
{

/// Adds a row; returns why it was refused.
std::string commit(Store& a_oStore, const char* a_pName)
{
    Transaction oTransaction(a_oStore);
    oTransaction.edit(tableOf("DynDns")).insert(row({{"Hostname", text(a_pName)}}));
    return refusalOf([&] { (void)a_oStore.commit(oTransaction); }).second;
}

struct DatabasePlaceTest : testing::Test
{
    Folder m_oFolder;
    fs::path m_oHome = m_oFolder / "home";
    std::string m_strFile = m_oHome / "config.db";
    std::string m_strLog = m_strFile + "-wal";

    DatabasePlaceTest() { fs::create_directory(m_oHome); }

    /// The rows that a start after a crash would find: those in a copy of the folder.
    std::string stored(const fs::path& a_oFolder) const
    {
        const fs::path oCopy = m_oFolder / "copy";
        fs::remove_all(oCopy);
        fs::copy(a_oFolder, oCopy);
        Database oDatabase(oCopy / "config.db");
        return columnOf(Store(oDatabase).getTable(tableOf("DynDns")), "Hostname");
    }
};

} // namespace

// SQLite would go on writing to files that the next start does not find.
TEST_F(DatabasePlaceTest, CommitsAreNotLostWithAFileThatIsTakenAway)
{
    const fs::path oAway = m_oFolder / "away";
    const auto moveAway = [&](const std::string& a_strFile)
    { fs::rename(a_strFile, oAway / fs::path(a_strFile).filename()); };
    const auto replace = [&](const std::string& a_strFile) { fs::rename(m_oFolder.write("x", "not ours"), a_strFile); };
    const char* pTaken = "another file was put in its place";
    const std::tuple<const char*, std::function<void()>, const char*, fs::path> oCases[] = {
        {"nothing", [] {}, nullptr, {}},
        {"file deleted", [&] { fs::remove(m_strFile); }, "", {}},
        {"log deleted", [&] { fs::remove(m_strLog); }, "", {}},
        {"folder deleted", [&] { fs::remove_all(m_oHome); }, "", {}},
        {"file moved", [&] { moveAway(m_strFile); }, "", {}},
        {"both moved", [&] { moveAway(m_strFile), moveAway(m_strLog); }, "", {}},
        {"replaced", [&] { replace(m_strFile); }, pTaken, m_strFile},
        {"a link", [&] { moveAway(m_strFile), fs::create_symlink(oAway / "config.db", m_strFile); }, pTaken, {}},
        {"log replaced", [&] { replace(m_strLog); }, pTaken, m_strLog},
        {"no folder", [&] { fs::remove_all(m_oHome), replace(m_oHome); }, "cannot use database folder", m_oHome},
    };
    for (const auto& [pCase, oHappen, pRefusal, oForeign] : oCases)
    {
        SCOPED_TRACE(pCase);
        fs::create_directory(m_oHome), fs::create_directory(oAway);
        Database oDatabase(m_strFile);
        Store oStore(oDatabase);
        EXPECT_EQ(commit(oStore, "one"), "");
        oHappen();
        LogCapture oLog;
        std::string strRefusal = commit(oStore, "two");
        const bool bAnew = pRefusal != nullptr && *pRefusal == '\0';
        EXPECT_EQ(oLog.take().find("was deleted or moved away while") != std::string::npos, bAnew);
        if (pRefusal != nullptr && !bAnew)
        {
            EXPECT_THAT(strRefusal, HasSubstr(pRefusal));
            EXPECT_TRUE(oForeign.empty() || contentOf(oForeign) == "not ours");
            fs::remove_all(m_oHome); // the disagreement is over
            strRefusal = commit(oStore, "two");
        }
        EXPECT_EQ(strRefusal, "");
        EXPECT_EQ(stored(m_oHome), "one,two");
        EXPECT_EQ(fs::status(m_strFile).permissions(), fs::perms(0600));
        EXPECT_EQ(commit(oStore, "three"), "");
        EXPECT_EQ(stored(m_oHome), "one,two,three");
        EXPECT_EQ(std::distance(fs::directory_iterator(m_oHome), {}), 2) << "the file and its log, nothing else";
        EXPECT_TRUE(!fs::exists(oAway / "config.db") || stored(oAway) == "one") << "what was moved away is complete";
        fs::remove_all(m_oHome), fs::remove_all(oAway);
    }
}

// SQLite takes any log of the right name for the file's own.
TEST_F(DatabasePlaceTest, ASavedFilePutInPlaceIsReadAsItIs)
{
    for (const bool bNoticed : {false, true})
    {
        fs::remove_all(m_oHome), fs::create_directory(m_oHome);
        {
            Database oDatabase(m_strFile);
            Store oStore(oDatabase);
            EXPECT_EQ(commit(oStore, "saved"), "");
        }
        fs::copy_file(m_strFile, m_oFolder / "saved.db");
        {
            Database oDatabase(m_strFile);
            Store oStore(oDatabase);
            EXPECT_EQ(commit(oStore, "later"), "");
            fs::rename(m_oFolder / "saved.db", m_strFile);
            EXPECT_TRUE(!bNoticed || !commit(oStore, "refused").empty());
            EXPECT_TRUE(!bNoticed || stored(m_oHome) == "saved") << "after a crash";
        }
        EXPECT_EQ(stored(m_oHome), "saved");
    }
}
