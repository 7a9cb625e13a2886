#include "cfgctl/account/next.h"

#include "actions/curlaction.h"
#include "cfgctl/account/activity.h"
#include "cfgctl/account/attempts.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/account/resend.h"
#include "cfgctl/account/series.h"
#include "cfgctl/timestamp.h"
#include "scheduler/timing.h"

#include <algorithm>
#include <array>

namespace cfgctl
{

namespace
{

/// From a change to the first try, at most.
constexpr std::time_t s_iStart = g_iLatestTrySec;
/// An HTTPS attempt may take that long, and 2 s until its row is stamped.
constexpr std::time_t s_iHttpsAttempt = quorvad::CurlAction::s_iTransferSec + 2;
/// By GnuDIP: an unanswered look-up of the name, an unanswered connection, three waits for the server.
constexpr std::time_t s_iGnudipAttempt = 75 + 130 + 30 + 2;
/// From the end of an attempt to its row.
constexpr std::time_t s_iWritten = quorvad::g_uiPassSec + 15;

std::time_t attemptOf(const korrin::ValueList& a_oAccount)
{
    return isGnudip(a_oAccount) ? s_iGnudipAttempt : s_iHttpsAttempt;
}

/// Before it takes note of a change, the daemon may have to wait for an attempt of any account.
std::time_t longestAttempt(const StatusSources& a_oSources)
{
    const bool bGnudip = std::any_of(a_oSources.m_oAccounts.begin(), a_oSources.m_oAccounts.end(), isGnudip);
    return bGnudip ? s_iGnudipAttempt : s_iHttpsAttempt;
}

/// Finds it for an account that nothing stops.
class Forecast
{
public:
    Forecast(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
        : m_oAccount(a_oAccount), m_oSources(a_oSources), m_iNow(a_iNow),
          m_oTrigger(findTrigger(a_oAccount, a_oSources, a_iNow)),
          m_oPossible(findPossibleTrigger(a_oAccount, a_oSources, a_iNow)),
          m_iOutcome(attemptOf(a_oAccount) + s_iWritten)
    {
        const korrin::ValueList& oStatus =
            findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, textOf(a_oAccount, dbm::Id));
        m_bTried = !oStatus.empty();
        m_oLast = parseTimestamp(textOf(oStatus, dbm::DynDnsStatus_Timestamp));
    }

    [[nodiscard]] Next find() const
    {
        if (isNews(m_oTrigger))
        {
            return announced(ENext::Due, latestStart(later(*m_oTrigger)), longestAttempt(m_oSources));
        }
        if (!m_bTried)
        {
            return {ENext::Due, {}, {}};
        }
        return isSuccess(judgeLast(m_oAccount, m_oSources).value_or(Outcome::Unknown)) ? findAfterSuccess()
                                                                                       : findAfterFailure();
    }

private:
    /// No attempt has followed yet.
    [[nodiscard]] bool isNews(const std::optional<Trigger>& a_oTrigger) const
    {
        return a_oTrigger && (!m_bTried || (m_oLast && *m_oLast <= a_oTrigger->m_iTime));
    }
    [[nodiscard]] static std::time_t latestStart(const Trigger& a_oTrigger) { return a_oTrigger.m_iNoted + s_iStart; }

    /// A change of its interface begins the start period again, also long after one that found the interface down.
    [[nodiscard]] Trigger later(const Trigger& a_oTrigger) const
    {
        return m_oPossible && m_oPossible->m_iTime > a_oTrigger.m_iTime ? *m_oPossible : a_oTrigger;
    }

    /// What is due until a_iLatest: before that, while the outcome may be on its way, and after that.
    [[nodiscard]] Next announced(ENext a_eBefore, std::time_t a_iLatest, std::time_t a_iDelay = 0) const
    {
        const std::time_t iOutcome = a_iLatest + a_iDelay + m_iOutcome;
        if (m_iNow < a_iLatest)
        {
            return {a_eBefore, a_iLatest - m_iNow, {}};
        }
        return m_iNow <= iOutcome ? Next{ENext::Awaited, iOutcome - m_iNow, {}}
                                  : Next{ENext::Overdue, m_iNow - a_iLatest, {}};
    }

    /// The other state, unless a change that may concern the account is still about to have an outcome.
    [[nodiscard]] Next unlessPossible(ENext a_eOther) const
    {
        if (!isNews(m_oPossible))
        {
            return {a_eOther, {}, {}};
        }
        const Next oNext = announced(ENext::Possible, latestStart(*m_oPossible), longestAttempt(m_oSources));
        if (oNext.m_eState == ENext::Awaited)
        {
            return {ENext::Possible, {}, {}};
        }
        return oNext.m_eState == ENext::Overdue ? Next{a_eOther, {}, {}} : oNext;
    }

    [[nodiscard]] Next findAfterSuccess() const { return unlessPossible(ENext::Idle); }

    [[nodiscard]] Next findAfterFailure() const
    {
        const Failures oFailures = failuresOf(m_oAccount, m_oSources, m_oTrigger);
        if (oFailures.m_oTimes.empty() || oFailures.m_oTimes.back() > m_iNow + g_iStampSlice) // the clock was set back
        {
            return {ENext::Retrying, {}, {}};
        }
        const int iPlace = lastPlace(oFailures, attemptOf(m_oAccount));
        if (iPlace >= m_oAccount.getValue(dbm::DynDns_Retry).getInteger())
        {
            return unlessPossible(ENext::Exhausted);
        }
        const std::time_t iTry =
            oFailures.m_oTimes.back() + waitAfter(iPlace, quorvad::g_iLongestStartSec) + g_iStampSlice;
        // After a change of the interface a new series begins instead.
        return announced(ENext::Retrying, isNews(m_oPossible) ? std::max(iTry, latestStart(*m_oPossible)) : iTry);
    }

    const korrin::ValueList& m_oAccount;
    const StatusSources& m_oSources;
    const std::time_t m_iNow;
    const std::optional<Trigger> m_oTrigger;
    const std::optional<Trigger> m_oPossible;
    const std::time_t m_iOutcome; ///< from the beginning of an attempt to its row
    bool m_bTried = false;
    std::optional<std::time_t> m_oLast;
};

/// "94 seconds", "3 minutes": rounded up.
std::string describeLimit(std::time_t a_iSeconds)
{
    if (a_iSeconds >= 60 && a_iSeconds < 120)
    {
        return std::to_string(a_iSeconds) + " seconds";
    }
    return describeSpan(a_iSeconds < 60 ? std::max<std::time_t>(a_iSeconds, 1) : a_iSeconds + 59);
}

std::string within(const std::optional<std::time_t>& a_oSeconds)
{
    return a_oSeconds ? " within " + describeLimit(*a_oSeconds) : std::string();
}

/// " in <94 s": less, that is, as the tables only tell the latest time.
std::string inBrief(const std::optional<std::time_t>& a_oSeconds)
{
    if (!a_oSeconds)
    {
        return {};
    }
    return *a_oSeconds < 120 ? " in <" + std::to_string(*a_oSeconds) + " s"
                             : " in <" + std::to_string((*a_oSeconds + 59) / 60) + " min";
}

} // namespace

Next findNext(const korrin::ValueList& a_oAccount,
              const StatusSources& a_oSources,
              const std::vector<Problem>& a_oProblems,
              std::time_t a_iNow)
{
    if (!isStopped(a_oProblems))
    {
        return Forecast(a_oAccount, a_oSources, a_iNow).find();
    }
    const Problem& oFirst = a_oProblems.front();
    if (oFirst.m_strCode == g_pDisabledCode)
    {
        return {ENext::Disabled, {}, {}};
    }
    const ENext eState = oFirst.m_strCode == g_pNoDaemonCode ? ENext::NoDaemon : ENext::Impossible;
    return {eState, {}, oFirst.m_strBrief, oFirst.m_strCode == g_pAddressCode};
}

const char* nameNext(ENext a_eState)
{
    constexpr std::array apNames{"disabled",
                                 "no-daemon",
                                 "impossible",
                                 "due",
                                 "possible",
                                 "awaited",
                                 "retrying",
                                 "exhausted",
                                 "idle",
                                 "overdue"};
    static_assert(apNames.size() == static_cast<std::size_t>(ENext::Overdue) + 1);
    return apNames.at(static_cast<std::size_t>(a_eState));
}

std::string describeNext(const Next& a_oNext)
{
    switch (a_oNext.m_eState)
    {
    case ENext::Disabled:
        return "nothing: disabled";
    case ENext::NoDaemon:
        return "nothing: no daemon is connected";
    case ENext::Impossible:
        return a_oNext.m_strCause;
    case ENext::Due:
        return a_oNext.m_oSeconds ? "an update" + within(a_oNext.m_oSeconds)
                                  : "first update within two minutes, else see quorvad's log";
    case ENext::Possible:
        return a_oNext.m_oSeconds ? "an update" + within(a_oNext.m_oSeconds) + " if its address changed"
                                  : "an outcome may follow, if its address changed";
    case ENext::Awaited:
        return "the outcome is awaited, at most " + describeLimit(a_oNext.m_oSeconds.value_or(0));
    case ENext::Retrying:
        return a_oNext.m_oSeconds ? "tries again" + within(a_oNext.m_oSeconds) : "tries again while tries are left";
    case ENext::Exhausted:
        return "no try left: waits for a change of address or settings";
    case ENext::Idle:
        return "nothing until the address changes";
    case ENext::Overdue:
        break;
    }
    return "overdue for " + describeSpan(a_oNext.m_oSeconds.value_or(0)) + ": see quorvad's log";
}

std::string describeNextBriefly(const Next& a_oNext)
{
    switch (a_oNext.m_eState)
    {
    case ENext::Impossible:
        return "impossible";
    case ENext::NoDaemon:
        return "no daemon";
    case ENext::Due:
        return "due" + inBrief(a_oNext.m_oSeconds);
    case ENext::Retrying:
        return "retry" + inBrief(a_oNext.m_oSeconds);
    case ENext::Exhausted:
        return "no try left";
    case ENext::Disabled:
    case ENext::Possible:
    case ENext::Awaited:
    case ENext::Idle:
    case ENext::Overdue:
        break;
    }
    return nameNext(a_oNext.m_eState);
}

std::string tellNext(const Next& a_oNext)
{
    switch (a_oNext.m_eState)
    {
    case ENext::Disabled:
        return "Disabled: no update goes out.";
    case ENext::NoDaemon:
    case ENext::Impossible:
        return a_oNext.m_bOutdated ? "Not ready: the present address is not announced."
                                   : "Not ready: no update goes out.";
    case ENext::Due:
        return "Ready: an update goes out" + within(a_oNext.m_oSeconds) + ".";
    case ENext::Possible:
        return a_oNext.m_oSeconds
                   ? "Ready: if the address changed, an update goes out" + within(a_oNext.m_oSeconds) + "."
                   : "Ready. If the address changed lately, the outcome is about to follow.";
    case ENext::Awaited:
        return "Sent, or about to be sent: the outcome is awaited" + within(a_oNext.m_oSeconds) + ".";
    case ENext::Retrying:
        return "The last try failed; the next one follows" + within(a_oNext.m_oSeconds) + ".";
    case ENext::Exhausted:
        return "Failed, and no try is left: an update goes out at the next change of address or settings.";
    case ENext::Idle:
        return "Ready: an update goes out when the address changes.";
    case ENext::Overdue:
        break;
    }
    return "An update should have gone out " + describeSpan(a_oNext.m_oSeconds.value_or(0)) +
           " ago, and there is no outcome: see the daemon's log.";
}

} // namespace cfgctl
