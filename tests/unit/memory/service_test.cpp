#include "fuse.h"

#include "cfgserver/server.h"
#include "platform/base/io.h"
#include "tests/unit/cfgserver/samples.h"

#include <gmock/gmock.h>

#include <array>
#include <deque>
#include <sys/socket.h>

using namespace cfgserver;
using namespace samples;
using wire::Operation;
using wire::Result;

namespace
{

std::string frameOf(const wire::Message& a_oMessage)
{
    return wire::encodeFrame(wire::encode(a_oMessage));
}

/// The service on this thread, which runs only while a client waits.
class Scene
{
public:
    explicit Scene(const Folder& a_oFolder)
        : m_oDatabase(a_oFolder / "config.db"), m_oStore(m_oDatabase), m_strSocket(a_oFolder / "socket"),
          m_oSocket(m_strSocket, std::nullopt), m_oServer(m_oLoop, m_oStore, m_oSocket, Limits())
    {
    }

    /// One round of the service, with the allocations numbered from a_iFirst on failing; returns those that are left.
    int run(int a_iFirst, bool a_bRest)
    {
        m_oLoop.wakeUp(); // never waits
        const Fuse oFuse(a_iFirst, a_bRest);
        m_oServer.runOnce();
        return Fuse::getLeft();
    }

    Database m_oDatabase;
    Store m_oStore;
    std::string m_strSocket;
    ServiceSocket m_oSocket;
    platform::EventLoop m_oLoop;
    Server m_oServer;
};

constexpr int s_iNever = 1 << 30;

/// Sends requests; the first failing allocation of the service counts over all of them.
class Asker
{
public:
    Asker(Scene& a_oScene, int a_iFirst, bool a_bRest)
        : m_oScene(a_oScene), m_iLeft(a_iFirst), m_bRest(a_bRest),
          m_oSocket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        EXPECT_TRUE(platform::UnixAddress(a_oScene.m_strSocket).connect(m_oSocket.get()));
    }

    /// The reply; none if the service closed the connection instead. Fails if there is neither.
    std::optional<wire::Reply> ask(const wire::Request& a_oRequest)
    {
        const std::string strFrame = frameOf(a_oRequest);
        if (m_bClosed || ::send(m_oSocket.get(), strFrame.data(), strFrame.size(), MSG_NOSIGNAL) < 0)
        {
            return std::nullopt;
        }
        std::string strPayload;
        for (int iRound = 0; iRound < 20; ++iRound)
        {
            m_iLeft = m_oScene.run(m_iLeft > 0 ? m_iLeft : m_bRest ? 1 : s_iNever, m_bRest);
            m_bFailed = m_bFailed || m_iLeft <= 0;
            std::array<char, 65536> acReceived{};
            const ssize_t iSize = ::recv(m_oSocket.get(), acReceived.data(), acReceived.size(), 0);
            m_bClosed = iSize == 0 || (iSize < 0 && errno == ECONNRESET);
            m_oReader.feed(acReceived.data(), static_cast<std::size_t>(std::max<ssize_t>(iSize, 0)));
            if (m_oReader.next(strPayload) == wire::FrameReader::State::Payload)
            {
                return std::get<wire::Reply>(wire::decode(strPayload));
            }
            if (m_bClosed)
            {
                return std::nullopt;
            }
        }
        ADD_FAILURE() << "neither an answer nor a close";
        return std::nullopt;
    }

    [[nodiscard]] bool hasFailed() const { return m_bFailed; }

private:
    Scene& m_oScene;
    int m_iLeft;
    bool m_bFailed = false;
    bool m_bRest;
    platform::UniqueFd m_oSocket;
    wire::FrameReader m_oReader;
    bool m_bClosed = false;
};

/// A row whose text would delete another row and commit that, were it read as requests. The service reads 64 KiB at
/// once: the second of these parts begins with such a request.
wire::Request makeInsert()
{
    constexpr std::size_t uiPart = 64UL * 1024UL;
    wire::Request oDelete = request(Operation::DeleteRow);
    oDelete.m_uiNumber = 0;
    const std::string strHarm = frameOf(oDelete) + frameOf(request(Operation::Commit));
    const auto insertion = [&](const std::string& a_strSecond)
    {
        return request(Operation::InsertRow,
                       "DynDns",
                       row({{"Hostname", text(std::string(60000, 'h'))}, {"Password", text(a_strSecond)}}));
    };
    const std::size_t uiTextAt = frameOf(insertion("MARK")).find("MARK");
    return insertion(std::string(uiPart - uiTextAt, 'p') + strHarm);
}

/// What became of the commit of that row; none if the service did not say.
std::optional<Result> addRow(Asker& a_oClient)
{
    for (const wire::Request& oRequest :
         {hello("a name that takes memory"), request(Operation::GetAccess), makeInsert()})
    {
        const auto oReply = a_oClient.ask(oRequest);
        if (!oReply || oReply->m_eResult != Result::Ok)
        {
            return Result::NoAccess;
        }
    }
    const auto oReply = a_oClient.ask(request(Operation::Commit));
    return oReply ? std::optional(oReply->m_eResult) : std::nullopt;
}

struct MemoryTest : testing::TestWithParam<std::tuple<bool, bool>>
{
    Folder m_oFolder{"/dev/shm"};
};

} // namespace

// Every allocation of a session with a commit fails once: alone, or with all later ones of that moment. Whatever fails,
// the client is told or let go, nothing that it wrote as text is carried out, and the service goes on with the next
// one.
TEST_P(MemoryTest, EveryRequestIsAnsweredOrItsConnectionEnds)
{
    const auto [bRest, bFileGone] = GetParam();
    bool bFailed = true;
    int iFirst = 1;
    for (; bFailed && !HasFailure(); iFirst += bFileGone ? 37 : 1) // writing anew takes thousands
    {
        SCOPED_TRACE(iFirst);
        std::filesystem::remove(m_oFolder / "config.db");
        Scene oScene(m_oFolder);
        Asker oNext(oScene, s_iNever, false);
        EXPECT_EQ(addRow(oNext), Result::Ok);
        const auto count = [&] { return oScene.m_oStore.getTable(tableOf("DynDns")).getRows().size(); };
        if (bFileGone) // the commit writes everything anew
        {
            std::filesystem::remove(m_oFolder / "config.db");
        }
        Asker oClient(oScene, iFirst, bRest);
        const std::optional<Result> oResult = addRow(oClient);
        bFailed = oClient.hasFailed();
        const bool bAsTold = oResult ? count() == (*oResult == Result::Ok ? 2U : 1U) : count() == 1 || count() == 2;
        EXPECT_TRUE(bAsTold) << count() << " rows";
        const std::size_t uiBefore = count();
        Asker oLast(oScene, s_iNever, false);
        EXPECT_EQ(addRow(oLast), Result::Ok);
        EXPECT_EQ(count(), uiBefore + 1);
        const Table oKept = oScene.m_oStore.getTable(tableOf("DynDns"));
        EXPECT_TRUE(oScene.m_oDatabase.load(oKept.getSchema()).holdsSame(oKept)) << "memory and disk differ";
    }
    EXPECT_GT(iFirst, 100);
}

INSTANTIATE_TEST_SUITE_P(RestAndFileGone, MemoryTest, testing::Combine(testing::Bool(), testing::Bool()));
