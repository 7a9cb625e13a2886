#include "netifwatch/buslibrary.h"

#include "vadro/sysloglevel.h"

#include <cstdlib>
#include <dlfcn.h>
#include <optional>
#include <stdexcept>
#include <unistd.h>

namespace netifwatch
{

namespace
{

constexpr char s_acLibrary[] = "libsystemd.so.0";
constexpr char s_acDefaultBus[] = "/run/dbus/system_bus_socket";

/// The same places where the library looks.
bool isBusThere()
{
    return std::getenv("DBUS_SYSTEM_BUS_ADDRESS") != nullptr || // NOLINT(concurrency-mt-unsafe): one thread
           access(s_acDefaultBus, F_OK) == 0;
}

[[noreturn]] void fail()
{
    throw std::runtime_error(dlerror()); // NOLINT(concurrency-mt-unsafe): per thread in all C libraries
}

template<typename Function>
void find(void* a_pLibrary, const char* a_pName, Function*& a_pFunction)
{
    a_pFunction = reinterpret_cast<Function*>(dlsym(a_pLibrary, a_pName));
    if (a_pFunction == nullptr)
    {
        fail();
    }
}

BusLibrary loadAll()
{
    void* pLibrary = dlopen(s_acLibrary, RTLD_NOW | RTLD_LOCAL);
    if (pLibrary == nullptr)
    {
        fail();
    }
    BusLibrary oFound = {};
    find(pLibrary, "sd_bus_open_system", oFound.m_pOpenSystem);
    find(pLibrary, "sd_bus_close_unref", oFound.m_pCloseUnref);
    find(pLibrary, "sd_bus_is_ready", oFound.m_pIsReady);
    find(pLibrary, "sd_bus_process", oFound.m_pProcess);
    find(pLibrary, "sd_bus_wait", oFound.m_pWait);
    find(pLibrary, "sd_bus_call", oFound.m_pCall);
    find(pLibrary, "sd_bus_message_unref", oFound.m_pMessageUnref);
    find(pLibrary, "sd_bus_message_new_method_call", oFound.m_pNewMethodCall);
    find(pLibrary, "sd_bus_message_set_auto_start", oFound.m_pSetAutoStart);
    find(pLibrary, "sd_bus_message_append", oFound.m_pAppend);
    find(pLibrary, "sd_bus_message_enter_container", oFound.m_pEnterContainer);
    find(pLibrary, "sd_bus_message_exit_container", oFound.m_pExitContainer);
    find(pLibrary, "sd_bus_message_read", oFound.m_pRead);
    find(pLibrary, "sd_bus_message_read_array", oFound.m_pReadArray);
    return oFound;
}

} // namespace

const BusLibrary* BusLibrary::load(std::string& a_strProblem)
{
    static std::optional<BusLibrary> s_oLoaded;
    if (!s_oLoaded && isBusThere())
    {
        try
        {
            s_oLoaded = loadAll();
        }
        catch (const std::runtime_error& oFailure)
        {
            const VAStr oText("Cannot ask systemd-resolved for DNS servers: %s. Install libsystemd; until then "
                              "resolv.conf counts.",
                              oFailure.what());
            a_strProblem = std::string(oText);
        }
    }
    return s_oLoaded ? &*s_oLoaded : nullptr;
}

} // namespace netifwatch
