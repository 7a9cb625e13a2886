#include "netifwatch/resolved.h"

#include "netifwatch/ipaddress.h"

#include <chrono>
#include <memory>
#include <systemd/sd-bus.h>
#include <utility>

namespace netifwatch
{

namespace
{

constexpr std::chrono::seconds s_oLimit{2};

struct BusEnd
{
    void operator()(sd_bus* a_pBus) const { sd_bus_close_unref(a_pBus); } // nothing is left to be sent
    void operator()(sd_bus_message* a_pMessage) const { sd_bus_message_unref(a_pMessage); }
};
using Bus = std::unique_ptr<sd_bus, BusEnd>;
using Message = std::unique_ptr<sd_bus_message, BusEnd>;

using Clock = std::chrono::steady_clock;

std::uint64_t microsecondsUntil(Clock::time_point a_oEnd)
{
    const auto oLeft = std::chrono::ceil<std::chrono::microseconds>(a_oEnd - Clock::now()).count();
    return oLeft > 0 ? static_cast<std::uint64_t>(oLeft) : 0;
}

/// A connection of its own for each question: nothing to keep alive, whatever becomes of the bus. The greeting is
/// awaited here, since the library itself would wait for a bus that stands still for minutes.
Bus openBus(Clock::time_point a_oEnd)
{
    sd_bus* pBus = nullptr;
    if (sd_bus_open_system(&pBus) < 0)
    {
        return nullptr;
    }
    Bus oBus(pBus);
    int iReady = sd_bus_is_ready(pBus);
    while (iReady == 0)
    {
        const int iDone = sd_bus_process(pBus, nullptr);
        const std::uint64_t uiLeft = microsecondsUntil(a_oEnd);
        if (iDone < 0 || uiLeft == 0 || (iDone == 0 && sd_bus_wait(pBus, uiLeft) < 0))
        {
            return nullptr;
        }
        iReady = sd_bus_is_ready(pBus);
    }
    return iReady > 0 ? std::move(oBus) : Bus();
}

Message readServerProperty(sd_bus& a_oBus, Clock::time_point a_oEnd)
{
    sd_bus_message* pRequest = nullptr;
    if (sd_bus_message_new_method_call(&a_oBus,
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
    const bool bAnswered = sd_bus_message_set_auto_start(pRequest, 0) >= 0 &&
                           sd_bus_message_append(pRequest, "ss", "org.freedesktop.resolve1.Manager", "DNS") >= 0 &&
                           sd_bus_call(&a_oBus, pRequest, microsecondsUntil(a_oEnd) + 1, nullptr, &pReply) >= 0;
    return bAnswered ? Message(pReply) : Message();
}

/// One (interface, family, bytes); false at the end and at anything else.
bool readServer(sd_bus_message* a_pReply, DnsSources& a_oSources)
{
    int iInterface = 0;
    int iFamily = 0;
    const void* pBytes = nullptr;
    std::size_t uiSize = 0;
    if (sd_bus_message_enter_container(a_pReply, 'r', "iiay") <= 0 ||
        sd_bus_message_read(a_pReply, "ii", &iInterface, &iFamily) < 0 ||
        sd_bus_message_read_array(a_pReply, 'y', &pBytes, &uiSize) < 0 || sd_bus_message_exit_container(a_pReply) < 0)
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
    const Clock::time_point oEnd = Clock::now() + s_oLimit;
    const Bus oBus = openBus(oEnd);
    const Message oReply = oBus ? readServerProperty(*oBus, oEnd) : Message();
    if (!oReply || sd_bus_message_enter_container(oReply.get(), 'v', "a(iiay)") < 0 ||
        sd_bus_message_enter_container(oReply.get(), 'a', "(iiay)") < 0)
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
