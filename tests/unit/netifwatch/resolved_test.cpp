#include "netifwatch/dnssources.h"
#include "tests/unit/support/child.h"
#include "tests/unit/support/folder.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <thread>

using namespace netifwatch;

namespace
{

/// Servers of link 2 (IPv4, IPv6) and of the machine, and two malformed ones.
int tellServers(sd_bus*, const char*, const char*, const char*, sd_bus_message* a_pReply, void*, sd_bus_error*)
{
    return sd_bus_message_append(a_pReply,
                                 "a(iiay)",
                                 5,
                                 // clang-format off
                                 2, AF_INET, 4, 192, 0, 2, 53,
                                 2, AF_INET6, 16, 0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1,
                                 3, AF_INET, 3, 1, 2, 3,
                                 3, 99, 4, 1, 2, 3, 4,
                                 0, AF_INET, 4, 198, 51, 100, 53);
    // clang-format on
}

int runStub()
{
    static const sd_bus_vtable s_aoTable[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_PROPERTY("DNS", "a(iiay)", tellServers, 0, 0), SD_BUS_VTABLE_END};
    sd_bus* pBus = nullptr;
    while (sd_bus_open_system(&pBus) < 0)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the bus is still starting
    }
    if (sd_bus_add_object_vtable(
            pBus, nullptr, "/org/freedesktop/resolve1", "org.freedesktop.resolve1.Manager", s_aoTable, nullptr) < 0 ||
        sd_bus_request_name(pBus, "org.freedesktop.resolve1", 0) < 0)
    {
        return 1;
    }
    for (;;) // until the child is killed, or its minute is over
    {
        if (sd_bus_process(pBus, nullptr) == 0)
        {
            sd_bus_wait(pBus, UINT64_MAX);
        }
    }
}

std::optional<DnsSources> askUntilAnswered()
{
    for (int iTry = 0; iTry < 500; ++iTry)
    {
        if (const auto oSources = askResolved())
        {
            return oSources;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return std::nullopt;
}

bool isBounded(const std::function<void()>& a_oAction)
{
    const auto oStart = std::chrono::steady_clock::now();
    a_oAction();
    return std::chrono::steady_clock::now() - oStart < std::chrono::seconds(15);
}

} // namespace

TEST(Resolved, GivesServersByLink)
{
    const Folder oFolder;
    const std::string strAddress = "unix:path=" + oFolder / "bus";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", strAddress.c_str(), 1);
    EXPECT_FALSE(askResolved()); // no bus
    const std::string strOption = "--address=" + strAddress;
    const Child oBus(
        [&] { return execlp("dbus-daemon", "dbus-daemon", "--session", strOption.c_str(), "--nofork", nullptr); });
    {
        const Child oStub(runStub);
        const auto oSources = askUntilAnswered();
        ASSERT_TRUE(oSources);
        ASSERT_EQ(oSources->m_oOfLinks.size(), 1U);
        const std::vector<IpAddress>& oOfLink = oSources->m_oOfLinks.at(2);
        ASSERT_EQ(oOfLink.size(), 2U);
        EXPECT_EQ(toText(oOfLink[0]), "192.0.2.53");
        EXPECT_EQ(toText(oOfLink[1]), "fe80::1");
        ASSERT_EQ(oSources->m_oOfMachine.size(), 1U);
        EXPECT_EQ(toText(oSources->m_oOfMachine[0].m_oAddress), "198.51.100.53");
        oStub.sendSignal(SIGSTOP);
        EXPECT_TRUE(isBounded([] { EXPECT_FALSE(askResolved()); }));
    }
    oBus.sendSignal(SIGSTOP);
    EXPECT_TRUE(isBounded([] { EXPECT_FALSE(askResolved()); }));
}
