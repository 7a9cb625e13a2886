#include "fakeservice.h"

#include "platform/base/io.h"
#include "tests/unit/cfgserver/samples.h"

#include <array>
#include <stdexcept>

#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr int g_iStepLimitMs = 5000;

void check(bool a_bGood, const char* a_pWhat)
{
    if (!a_bGood)
    {
        throw std::runtime_error(a_pWhat);
    }
}

} // namespace

std::string FakePeer::receive() const
{
    pollfd oPoll{m_iFd, POLLIN, 0};
    check(::poll(&oPoll, 1, g_iStepLimitMs) == 1, "the client sent nothing");
    std::array<char, 65536> acBytes;
    const ssize_t iSize = ::recv(m_iFd, acBytes.data(), acBytes.size(), 0);
    return std::string(acBytes.data(), iSize > 0 ? static_cast<std::size_t>(iSize) : 0U);
}

wire::Request FakePeer::expect(wire::Operation a_eOperation)
{
    std::string strPayload;
    while (m_oReader.next(strPayload) != wire::FrameReader::State::Payload)
    {
        const std::string strBytes = receive();
        check(!strBytes.empty(), "the client hung up");
        m_oReader.feed(strBytes.data(), strBytes.size());
    }
    auto oRequest = std::get<wire::Request>(wire::decode(strPayload));
    check(oRequest.m_eOperation == a_eOperation, "unexpected operation");
    return oRequest;
}

wire::Request FakePeer::greet()
{
    wire::Request oHello = expect(wire::Operation::Hello);
    reply(oHello);
    return oHello;
}

void FakePeer::reply(const wire::Request& a_oRequest, unsigned a_uiNumber, wire::Result a_eResult)
{
    wire::Reply oReply;
    oReply.m_uiSequence = a_oRequest.m_uiSequence;
    oReply.m_eResult = a_eResult;
    oReply.m_uiNumber = a_uiNumber;
    oReply.m_strError = a_eResult == wire::Result::Ok ? "" : "refused by the test";
    oReply.m_oRows.push_back(samples::row(
        {{"Service", samples::text("fake")}, {"Version", samples::text("7")}, {"Digests", samples::integer(1)}}));
    sendBytes(wire::encodeFrame(wire::encode(oReply)));
}

void FakePeer::notify(const std::string& a_strTable)
{
    sendBytes(wire::encodeFrame(wire::encode(wire::Notification{a_strTable})));
}

void FakePeer::sendBytes(const std::string& a_strBytes)
{
    pollfd oPoll{m_iFd, POLLOUT, 0};
    check(::poll(&oPoll, 1, g_iStepLimitMs) == 1, "the client does not read");
    check(::send(m_iFd, a_strBytes.data(), a_strBytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(a_strBytes.size()),
          "cannot send");
}

bool FakePeer::awaitEnd()
{
    bool bSilent = true;
    while (!receive().empty())
    {
        bSilent = false;
    }
    return bSilent;
}

FakeService::~FakeService()
{
    m_bStop = true;
    if (m_oThread.joinable())
    {
        m_oThread.join();
    }
}

void FakeService::start(std::vector<Script> a_oScripts)
{
    std::filesystem::remove(m_strPath); // of an earlier start
    m_oListener = platform::UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    check(platform::UnixAddress(m_strPath).bind(m_oListener.get()), "bind");
    check(::listen(m_oListener.get(), 4) == 0, "listen");
    m_oThread = std::thread([this, oScripts = std::move(a_oScripts)] { run(oScripts); });
}

void FakeService::run(const std::vector<Script>& a_oScripts) const
{
    for (const Script& oScript : a_oScripts)
    {
        pollfd oPoll{m_oListener.get(), POLLIN, 0};
        for (int iWaited = 0; iWaited < g_iStepLimitMs && !m_bStop && ::poll(&oPoll, 1, 20) == 0; iWaited += 20)
        {
        }
        const platform::UniqueFd oFd(::accept4(m_oListener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (m_bStop || !oFd.isOpen())
        {
            return;
        }
        FakePeer oPeer(oFd.get());
        try
        {
            oScript(oPeer);
        }
        catch (const std::exception&) // the client left or did something else, which its own checks notice
        {
        }
    }
}
