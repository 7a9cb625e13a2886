#include "netifwatch/buslibrary.h"
#include "netifwatch/dnssources.h"
#include "platform/common/deadline.h"

#include <cerrno>
#include <chrono>
#include <memory>
#include <utility>

namespace netifwatch
{

namespace
{

constexpr std::chrono::seconds s_oLimit{2};

const BusLibrary* s_pBus = nullptr; // set before the first use of the bus

struct BusEnd
{
    void operator()(sd_bus* a_pBus) const { s_pBus->m_pCloseUnref(a_pBus); } // nothing is left to be sent
    void operator()(sd_bus_message* a_pMessage) const { s_pBus->m_pMessageUnref(a_pMessage); }
};
using Bus = std::unique_ptr<sd_bus, BusEnd>;
using Message = std::unique_ptr<sd_bus_message, BusEnd>;

std::uint64_t microsecondsLeft(const platform::Deadline& a_oEnd)
{
    return static_cast<std::uint64_t>(a_oEnd.getRemainingMs()) * 1000U;
}

/// Waits for data from the bus; a signal may end the wait early. False if the bus is broken.
bool awaitBus(sd_bus& a_oBus, const platform::Deadline& a_oEnd)
{
    const int iResult = s_pBus->m_pWait(&a_oBus, microsecondsLeft(a_oEnd));
    return iResult >= 0 || iResult == -EINTR;
}

/// A new connection for each question, so that none has to be kept alive. The greeting is awaited here, since the
/// library would wait minutes for a bus that does not answer.
Bus openBus(const platform::Deadline& a_oEnd)
{
    sd_bus* pBus = nullptr;
    if (s_pBus->m_pOpenSystem(&pBus) < 0)
    {
        return nullptr;
    }
    Bus oBus(pBus);
    int iReady = s_pBus->m_pIsReady(pBus);
    while (iReady == 0)
    {
        const int iDone = s_pBus->m_pProcess(pBus, nullptr);
        if (iDone < 0 || a_oEnd.hasPassed() || (iDone == 0 && !awaitBus(*pBus, a_oEnd)))
        {
            return nullptr;
        }
        iReady = s_pBus->m_pIsReady(pBus);
    }
    return iReady > 0 ? std::move(oBus) : Bus();
}

Message readServerProperty(sd_bus& a_oBus, const platform::Deadline& a_oEnd)
{
    sd_bus_message* pRequest = nullptr;
    if (s_pBus->m_pNewMethodCall(&a_oBus,
                                 &pRequest,
                                 "org.freedesktop.resolve1",
                                 "/org/freedesktop/resolve1",
                                 "org.freedesktop.DBus.Properties",
                                 "Get") < 0)
    {
        return nullptr;
    }
    const Message oRequest(pRequest);
    sd_bus_message* pReply = nullptr;
    const bool bAnswered = s_pBus->m_pSetAutoStart(pRequest, 0) >= 0 &&
                           s_pBus->m_pAppend(pRequest, "ss", "org.freedesktop.resolve1.Manager", "DNS") >= 0 &&
                           s_pBus->m_pCall(&a_oBus, pRequest, microsecondsLeft(a_oEnd) + 1, nullptr, &pReply) >= 0;
    return bAnswered ? Message(pReply) : Message();
}

/// One (interface, family, bytes); false at the end and at anything else.
bool readServer(sd_bus_message* a_pReply, DnsSources& a_oSources)
{
    int iInterface = 0;
    int iFamily = 0;
    const void* pBytes = nullptr;
    std::size_t uiSize = 0;
    if (s_pBus->m_pEnterContainer(a_pReply, 'r', "iiay") <= 0 ||
        s_pBus->m_pRead(a_pReply, "ii", &iInterface, &iFamily) < 0 ||
        s_pBus->m_pReadArray(a_pReply, 'y', &pBytes, &uiSize) < 0 || s_pBus->m_pExitContainer(a_pReply) < 0)
    {
        return false;
    }
    if (const auto oAddress = makeAddress(iFamily, pBytes, uiSize))
    {
        if (iInterface > 0)
        {
            a_oSources.m_oOfLinks[iInterface].push_back(*oAddress);
        }
        else
        {
            a_oSources.m_oOfMachine.push_back({*oAddress, {}});
        }
    }
    return true;
}

} // namespace

std::optional<DnsSources> askResolved()
{
    std::string strProblem;
    s_pBus = BusLibrary::load(strProblem);
    if (s_pBus == nullptr)
    {
        return strProblem.empty() ? std::nullopt : std::make_optional(DnsSources{{}, {}, {strProblem}});
    }
    const platform::Deadline oEnd(s_oLimit);
    const Bus oBus = openBus(oEnd);
    const Message oReply = oBus ? readServerProperty(*oBus, oEnd) : Message();
    if (!oReply || s_pBus->m_pEnterContainer(oReply.get(), 'v', "a(iiay)") < 0 ||
        s_pBus->m_pEnterContainer(oReply.get(), 'a', "(iiay)") < 0)
    {
        return std::nullopt;
    }
    DnsSources oSources;
    while (readServer(oReply.get(), oSources))
    {
    }
    return oSources;
}

} // namespace netifwatch
