#pragma once

#include "actions/libwrapper.h"
#include "config/configobjects.h"
#include "scheduler/scheduler.h"
#include "vadro/cfg/iconfighandler.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace quorvad
{

class Action;

/// The heart of the daemon: caches the watched tables, decides which accounts need an update and owns the running
/// schedulers.
///
/// Main thread only. The loaders refresh the cache and mark what changed; process() works from the cache alone and
/// clears each mark that it has acted on. Workers never see the cache; their actions hold copies.
class ConfigHandler : public vadro::cfg::IConfigHandler
{
public:
    using InterfaceRows = std::map<std::string, std::unique_ptr<ConfigObject>>;

    /// Starts the transfer and resolver libraries; throws Error when one of them fails.
    ConfigHandler();
    /// Stops and joins all workers, then shuts the libraries down. Blocks while an attempt is in progress.
    ~ConfigHandler() override;
    ConfigHandler(const ConfigHandler&) = delete;
    ConfigHandler& operator=(const ConfigHandler&) = delete;

    void getTableNames(std::list<std::string>& a_oNames) override;
    /// Refreshes the cache after a change of that table; the first call, for any table, loads everything.
    /// Always true. Blocks for the client's calls.
    bool loadFromConfig(vadro::cfg::common::IConfigClient& a_oClient, const std::string& a_strTable) override;
    void onServiceEvent() override {}

    /// The decision step, once per pass of the main loop. Blocks while an attempt that has become stale is in progress.
    /// Throws vadro::error::AssertionFailed for an account or interface row that lacks a column, and what the random
    /// source or the thread system throws; a refused action is logged and costs only its own account.
    void process();
    /// Destroys the schedulers whose worker has finished.
    void removeFinishedSchedulers();
    /// 51 to 70 seconds, uniformly distributed. Throws std::runtime_error if the random device cannot be read.
    [[nodiscard]] int getRandomStartPeriodSec() const;
    /// The DNS servers for an interface, joined by commas; empty, with a warning, when there is none.
    [[nodiscard]] std::string getNameservers(const std::string& a_strInterface) const;

    // The loaders read through the client and block for its calls; a row that cannot be read is skipped.
    void updateCachedTables(vadro::cfg::common::IConfigClient& a_oClient, bool a_bClearFirst);
    void loadSerialNumber(vadro::cfg::common::IConfigClient& a_oClient);
    void updateUserDnsServers(vadro::cfg::common::IConfigClient& a_oClient);
    void updateOtherDnsServers(vadro::cfg::common::IConfigClient& a_oClient);

    // Destroyed in reverse order: the workers end before the libraries that they use shut down.
    std::uint32_t m_iModuleId;
    std::map<int, std::unique_ptr<ConfigObject>> m_oDynDnsCfgs; ///< every account ever seen, by Id
    InterfaceRows m_oNetifWatch;                                ///< IPv4 state, by interface name
    InterfaceRows m_oNetifIPv6;                                 ///< IPv6 addresses, by interface name
    std::string m_strSerialNo;
    bool m_bInitial; ///< until the first load
    LibWrapper m_oLibWrapper;
    std::map<int, std::unique_ptr<Scheduler>> m_oSchedulers; ///< at most one per account, by Id
    std::list<ConfigObject> m_oNameservers;                  ///< DNSClientServer, in table order
    ConfigObject m_oDnsRelay;

private:
    using AccountIds = std::set<int>;

    /// One of the two interface state tables: what is read from it and where it is cached.
    struct InterfaceTable
    {
        const char* m_pTable;
        std::vector<const char*> m_oColumns;
        InterfaceRows& m_oRows;
    };

    [[nodiscard]] InterfaceTable netifWatchTable();
    [[nodiscard]] InterfaceTable netifIPv6Table();
    [[nodiscard]] bool hasId(const char* a_pTable, const korrin::ValueList& a_oRow) const;
    void updateAccount(vadro::cfg::common::IConfigClient& a_oClient, korrin::ValueList& a_oRow);
    void loadInterface(vadro::cfg::common::IConfigClient& a_oClient,
                       const InterfaceTable& a_oTable,
                       const std::string& a_strInterface);
    void refreshInterfaces(vadro::cfg::common::IConfigClient& a_oClient, const InterfaceTable& a_oTable);
    void refreshInterface(vadro::cfg::common::IConfigClient& a_oClient,
                          const InterfaceTable& a_oTable,
                          const std::string& a_strInterface);
    const ConfigObject*
    storeInterface(const InterfaceTable& a_oTable, const std::string& a_strInterface, korrin::ValueList& a_oRow);

    void announceStops(const AccountIds& a_oIds) const;
    void markAccountChanges(AccountIds& a_oPending);
    [[nodiscard]] bool accountNeedsAction(int a_iId, const ConfigObject& a_oAccount) const;
    void markIpv4Changes(AccountIds& a_oPending);
    void markIpv4Accounts(const std::string& a_strInterface, AccountIds& a_oPending) const;
    void markIpv6Changes(AccountIds& a_oPending);
    void markIpv6Accounts(const std::string& a_strInterface, AccountIds& a_oPending) const;
    void markDnsRelayChange(bool a_bForced, AccountIds& a_oPending);
    void markDnsServerChanges(bool a_bUserServersOnly, AccountIds& a_oPending);
    void removeSchedulersOn(const std::string& a_strInterface);
    [[nodiscard]] std::vector<int> enabledAccountsOn(const std::string& a_strInterface) const;

    void logMissingInterface(const std::string& a_strInterface) const;

    void dispatch(int a_iId);
    void send(bool a_bHttps, int a_iId, const ConfigObject& a_oWatch, const std::string& a_strAddr6);
    [[nodiscard]] std::shared_ptr<Action> makeHttpsAction(int a_iId,
                                                          const ConfigObject& a_oAccount,
                                                          const ConfigObject& a_oWatch,
                                                          const std::string& a_strAddr6) const;
    [[nodiscard]] std::shared_ptr<Action>
    makeGnudipAction(int a_iId, const ConfigObject& a_oAccount, const ConfigObject& a_oWatch) const;
    void startScheduler(int a_iId, const ConfigObject& a_oAccount, std::shared_ptr<Action> a_pAction);
};

} // namespace quorvad
