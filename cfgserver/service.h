#pragma once

#include "cfgserver/activity.h"
#include "cfgserver/store.h"
#include "platform/wire/message.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace cfgserver
{

/// How long write access may be held.
struct AccessLimits
{
    std::chrono::milliseconds m_oIdle = std::chrono::seconds(30); ///< without a request
    std::chrono::milliseconds m_oTotal = std::chrono::minutes(5); ///< in all
};

/// Answers the requests of all clients: reads, the one write access, commits. Knows no sockets. One thread; the store
/// outlives it, and a client must leave before it is destroyed.
class Service
{
public:
    struct Answer
    {
        wire::Reply m_oReply;
        std::vector<std::size_t> m_oChanged; ///< tables whose committed content is another now
    };

    Service(Store& a_oStore, const AccessLimits& a_oLimits);

    /// Never throws because of a request; a refused one gets a reply with the reason. Blocks only for a commit, for as
    /// long as the disk takes.
    [[nodiscard]] Answer answer(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow);

    /// The client is gone: its write access ends and its uncommitted writes vanish.
    void leave(const Client& a_oClient);

    [[nodiscard]] bool holdsAccess(const Client& a_oClient) const { return m_pHolder == &a_oClient; }

    /// Revokes write access that has been idle or held for too long.
    void expire(Clock::time_point a_oNow);
    /// When expire() has something to do next; the far future if never.
    [[nodiscard]] Clock::time_point getDeadline() const;

private:
    void carryOut(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow, Answer& a_oAnswer);
    void greet(Client& a_oClient, const wire::Request& a_oRequest, Clock::time_point a_oNow, wire::Reply& a_oReply);
    void read(const Client& a_oClient,
              const wire::Request& a_oRequest,
              Clock::time_point a_oNow,
              wire::Reply& a_oReply) const;
    void write(const Client& a_oClient, const wire::Request& a_oRequest);
    void takeAccess(const Client& a_oClient, Clock::time_point a_oNow);
    void dropAccess(const Client& a_oClient);
    void releaseAccess();
    void requireAccess(const Client& a_oClient) const;
    [[nodiscard]] std::vector<std::size_t> commit(Client& a_oClient, Clock::time_point a_oNow);
    [[nodiscard]] const Table& viewTable(const Client& a_oClient, std::size_t a_uiTable) const;

    Store& m_oStore;
    AccessLimits m_oLimits;
    uint32_t m_iModuleId;
    Activity m_oActivity;
    const Client* m_pHolder = nullptr; // of the write access; m_oWrites is set along with it
    std::optional<Transaction> m_oWrites;
    Clock::time_point m_oTaken;   // the write access
    Clock::time_point m_oLastUse; // of it
};

} // namespace cfgserver
