#include "cfgserver/servicesocket.h"
#include "platform/base/io.h"
#include "platform/common/deadline.h"
#include "samples.h"
#include "tests/unit/support/child.h"
#include "tests/unit/support/logcapture.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/stat.h>

using namespace cfgserver;
using namespace samples;
using testing::HasSubstr;

namespace
{

/// Runs as another user, who can write to the folder.
void asStranger(const std::function<void()>& a_oAction)
{
    ASSERT_EQ(::seteuid(12345), 0);
    a_oAction();
    ASSERT_EQ(::seteuid(0), 0);
}

std::vector<std::string> movedAside(const std::string& a_strPath)
{
    const std::filesystem::path oPath = a_strPath;
    std::vector<std::string> oFound;
    for (const auto& oEntry : std::filesystem::directory_iterator(oPath.parent_path()))
    {
        if (oEntry.path().string().rfind(a_strPath + ".aside-", 0) == 0)
        {
            oFound.push_back(oEntry.path());
        }
    }
    return oFound;
}

/// A folder like /tmp, in which strangers have been.
struct StickyFolderTest : testing::Test
{
    void SetUp() override
    {
        if (::geteuid() != 0)
        {
            GTEST_SKIP() << "needs root";
        }
        ::chmod((m_oFolder / "").c_str(), 01777);
    }
    std::string failure() const
    {
        return failureOf(
            [&]
            {
                const ServiceSocket oSocket(m_strPath, std::nullopt);
                const platform::UniqueFd oClient(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
                EXPECT_TRUE(platform::UnixAddress(m_strPath).connect(oClient.get()));
                const platform::UniqueFd oAccepted(::accept(oSocket.getFd(), nullptr, nullptr));
                EXPECT_TRUE(oAccepted.isOpen());
            });
    }

    Folder m_oFolder;
    std::string m_strPath = m_oFolder / "s";
};

} // namespace

TEST_F(StickyFolderTest, AListeningStrangerIsReplaced)
{
    const platform::UniqueFd oSquatter(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const platform::UniqueFd oDatagram(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    for (const platform::UniqueFd* pSocket : {&oSquatter, &oDatagram})
    {
        asStranger(
            [&]
            {
                EXPECT_TRUE(platform::UnixAddress(m_strPath).bind(pSocket->get()));
                ::listen(pSocket->get(), 5);
            });
        EXPECT_EQ(failure(), "");
    }
}

TEST_F(StickyFolderTest, WhatAStrangerPutThereIsMovedAsideAndKept)
{
    namespace fs = std::filesystem;
    const std::string strRoots = m_oFolder.write("roots", "root's");
    const ServiceSocket oTrusted(m_oFolder / "trusted", std::nullopt);
    const std::pair<const char*, std::function<void(const std::string&)>> oThings[] = {
        {"file", [](const std::string& a_strAt) { std::ofstream(a_strAt) << "data"; }},
        {"folder", [](const std::string& a_strAt) { fs::create_directories(a_strAt + "/data"); }},
        {"pipe", [](const std::string& a_strAt) { ::mkfifo(a_strAt.c_str(), 0666); }},
        {"link to a file", [&](const std::string& a_strAt) { fs::create_symlink(strRoots, a_strAt); }},
        {"link to a service", [&](const std::string& a_strAt) { fs::create_symlink(m_oFolder / "trusted", a_strAt); }},
        {"link to nothing", [&](const std::string& a_strAt) { fs::create_symlink("none", a_strAt); }},
        {"name of root's file", // which some machines let a stranger make
         [&](const std::string& a_strAt)
         {
             EXPECT_EQ(::seteuid(0), 0);
             fs::create_hard_link(strRoots, a_strAt);
         }},
    };
    for (const std::string& strPlace : {m_strPath, m_strPath + ".lock"})
    {
        for (const auto& [pThing, oMake] : oThings)
        {
            SCOPED_TRACE(strPlace + ": " + pThing);
            asStranger([&, &oPut = oMake] { oPut(strPlace); });
            const auto eType = fs::symlink_status(strPlace).type();
            LogCapture oLog;
            EXPECT_EQ(failure(), "");
            EXPECT_THAT(oLog.take(), HasSubstr(strPlace + " of user "));
            const std::vector<std::string> oAside = movedAside(strPlace);
            ASSERT_EQ(oAside.size(), 1U);
            EXPECT_EQ(fs::symlink_status(oAside[0]).type(), eType);
            EXPECT_TRUE(eType != fs::file_type::regular || contentOf(oAside[0]) == "data" ||
                        contentOf(oAside[0]) == "root's");
            EXPECT_TRUE(eType != fs::file_type::directory || fs::exists(oAside[0] + "/data"));
            EXPECT_EQ(contentOf(strRoots), "root's");
            fs::remove_all(oAside[0]);
        }
    }
}

TEST_F(StickyFolderTest, NobodyElsesThingsAreTouched)
{
    std::filesystem::create_symlink("/run/cfgserver/socket", m_strPath); // as a package makes it
    EXPECT_THAT(failure(), HasSubstr("exists and is not a socket"));
    EXPECT_TRUE(std::filesystem::remove(m_strPath));
    std::ofstream(m_strPath) << "root's";
    std::string strFailure;
    asStranger([&] { strFailure = failure(); });
    EXPECT_THAT(strFailure, HasSubstr("Permission denied"));
    EXPECT_EQ(contentOf(m_strPath), "root's");
    EXPECT_THAT(movedAside(m_strPath), testing::IsEmpty());
}

TEST_F(StickyFolderTest, AStrangerWhoIsAlwaysFasterDoesNotKeepUsForEver)
{
    const Child oStranger( // for a minute at most
        [&]
        {
            for (bool bStranger = ::seteuid(12345) == 0; bStranger;)
            {
                bStranger = ::symlink("none", m_strPath.c_str()) <= 0;
                ::mkfifo((m_strPath + ".lock").c_str(), 0666);
            }
            return 0;
        });
    const platform::Deadline oEnd(std::chrono::milliseconds(300));
    for (std::size_t uiMoved = 0; uiMoved < 50 && !oEnd.hasPassed(); uiMoved = movedAside(m_strPath).size())
    {
        EXPECT_THAT(failure(), testing::AnyOf("", HasSubstr("other processes keep")));
    }
}

TEST(ServiceSocketTest, TakesThePathOnlyFromADeadService)
{
    const Folder oFolder;
    const std::string strPath = oFolder / "s";
    const auto failure = [](const std::string& a_strPath)
    { return failureOf([&] { const ServiceSocket oSocket(a_strPath, std::nullopt); }); };
    const auto mode = [&] { return std::filesystem::status(strPath).permissions(); };
    {
        const ServiceSocket oSocket(strPath, std::nullopt);
        EXPECT_EQ(mode(), std::filesystem::perms(0600));
        EXPECT_THAT(failure(strPath), HasSubstr("in use by process " + std::to_string(::getpid())));
        std::filesystem::rename(strPath, oFolder / "moved");
        EXPECT_THAT(failure(strPath), HasSubstr("held by another process"));
        std::ofstream(strPath) << "not ours";
    }
    EXPECT_THAT(failure(strPath), HasSubstr("exists and is not a socket")) << "a foreign file was removed";
    std::filesystem::remove(strPath);
    std::filesystem::rename(oFolder / "moved", strPath); // nothing listens on it any more
    EXPECT_EQ(failure(strPath), "");
    EXPECT_FALSE(std::filesystem::exists(strPath) || std::filesystem::exists(strPath + ".lock"));
    EXPECT_THAT(failure(oFolder / "none/s"), HasSubstr("none/s.lock: No such file or directory"));
    EXPECT_THAT(failure(std::string(200, 'x')), HasSubstr("1 to 107 bytes long"));
    {
        const ServiceSocket oSocket(strPath, ::getegid());
        EXPECT_EQ(mode(), std::filesystem::perms(0660));
    }
}
