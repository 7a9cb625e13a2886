#pragma once

#include <string>
#include <systemd/sd-bus.h>

namespace netifwatch
{

/// The functions of libsystemd that a question on the system bus needs. Loaded, for good, when there is a system bus
/// for the first time: where there is none, nothing else maps that library and its own ones, 1.3 MB of memory.
struct BusLibrary
{
    /// Null if there is no system bus, or if the library cannot be loaded; a_strProblem then says why. One thread.
    [[nodiscard]] static const BusLibrary* load(std::string& a_strProblem);

    decltype(&sd_bus_open_system) m_pOpenSystem;
    decltype(&sd_bus_close_unref) m_pCloseUnref;
    decltype(&sd_bus_is_ready) m_pIsReady;
    decltype(&sd_bus_process) m_pProcess;
    decltype(&sd_bus_wait) m_pWait;
    decltype(&sd_bus_call) m_pCall;
    decltype(&sd_bus_message_unref) m_pMessageUnref;
    decltype(&sd_bus_message_new_method_call) m_pNewMethodCall;
    decltype(&sd_bus_message_set_auto_start) m_pSetAutoStart;
    decltype(&sd_bus_message_append) m_pAppend;
    decltype(&sd_bus_message_enter_container) m_pEnterContainer;
    decltype(&sd_bus_message_exit_container) m_pExitContainer;
    decltype(&sd_bus_message_read) m_pRead;
    decltype(&sd_bus_message_read_array) m_pReadArray;
};

} // namespace netifwatch
