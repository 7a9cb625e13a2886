#pragma once

#include "cfgserver/database.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cfgserver
{

/// The tables that are kept in memory only, in a file of a memory file system: they survive a restart of the service,
/// so that nobody takes it for a change, but no reboot, and cost no flash. A convenience: whatever goes wrong with the
/// file is logged as a warning, and the service goes on without it. One thread.
///
/// What is kept is as true as it was in the memory of the service before: whoever writes the tables corrects them once
/// connected again, and StatusServiceClients tells whether anybody is.
class StateFile
{
public:
    /// Opens or creates "state.db" in the folder, which must exist; one that cannot be used is replaced. Nothing is
    /// kept without a folder, in one that is not in memory, or if the file is another's, which stays as it is.
    explicit StateFile(const std::string& a_strFolder);

    /// The table as it was kept; empty if it was not. Once for each table.
    [[nodiscard]] Table take(const TableSchema& a_oSchema);

    /// Blocks only for as long as writing to memory takes. After a failure nothing is kept any more.
    void save(const TableChanges& a_oChanges);

private:
    void open();
    void load();
    void replace(const std::string& a_strReason);
    void giveUp(const char* a_pReason);
    void remove() noexcept;

    std::uint32_t m_iModuleId;
    std::string m_strPath;
    std::array<std::string, 4> m_oFiles;    // it, and what SQLite may leave beside it
    std::unique_ptr<Database> m_pDatabase;  // null if nothing is kept
    std::map<std::string, Table> m_oTables; // by name, as read at the start
};

} // namespace cfgserver
