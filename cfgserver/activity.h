#pragma once

#include "cfgserver/table.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace cfgserver
{

using Clock = std::chrono::steady_clock;

/// What the service knows of one client. Its process is filled in by who accepts it, the rest by its Hello.
struct Client
{
    pid_t m_iPid = 0; ///< as it was when it connected; 0 for one of another PID namespace
    uid_t m_uiUser = 0;
    bool m_bGreeted = false;
    std::string m_strName; ///< visible characters only, bounded
    bool m_bReadOnly = false;
    bool m_bNotifyOwnChanges = false;
    std::vector<bool> m_oWatched; ///< by position in the schema; empty before Hello
    Clock::time_point m_oConnected;
    Clock::time_point m_oStarted; ///< by its own account
    int m_iCommits = 0;           ///< those that changed something
};

/// Who is connected and when each table was changed last, as two tables that clients can read like all others. One
/// thread; a client must leave before it is destroyed.
class Activity
{
public:
    Activity();

    void enter(const Client& a_oClient) { m_oClients.push_back(&a_oClient); }
    /// Also for one that did not enter.
    void leave(const Client& a_oClient);
    /// The commit has taken effect, so this must not fail: without memory, a table's last writer stays as noted before.
    void noteCommit(Client& a_oClient, const std::vector<std::size_t>& a_oChanged, Clock::time_point a_oNow) noexcept;

    /// One of the two tables at this moment.
    [[nodiscard]] Table makeTable(const TableSchema& a_oSchema, Clock::time_point a_oNow) const;

private:
    struct Change
    {
        bool m_bAny = false; ///< since the service started
        Clock::time_point m_oWhen;
        std::string m_strBy;
    };

    [[nodiscard]] std::vector<korrin::ValueList> listClients(Clock::time_point a_oNow) const;
    [[nodiscard]] std::vector<korrin::ValueList> listTables(Clock::time_point a_oNow) const;

    std::vector<const Client*> m_oClients; // in the order of their arrival
    std::vector<Change> m_oChanges;        // by position in the schema
};

} // namespace cfgserver
