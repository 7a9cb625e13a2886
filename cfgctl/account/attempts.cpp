#include "cfgctl/account/attempts.h"

#include "actions/curlaction.h"
#include "actions/gnudipprotocol.h"
#include "actions/httpreply.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/timestamp.h"
#include "scheduler/timing.h"

#include <algorithm>
#include <array>
#include <vector>

namespace cfgctl
{

namespace
{

constexpr std::time_t s_iSlice = quorvad::g_iSliceSec + 1; // time stamps are whole seconds
/// An HTTPS attempt may take that long, and 2 s until its row is stamped. One by GnuDIP mostly takes less; after one
/// that took longer, the next failure looks like the first of a series.
constexpr std::time_t s_iAttempt = quorvad::CurlAction::s_iTransferSec + 2;
constexpr std::time_t s_iWritten = quorvad::g_uiPassSec + 15;
constexpr int s_iMostDoublings = 20;

/// How long the daemon waits after the given try of a series.
std::time_t waitAfter(int a_iPlace, int a_iStart)
{
    std::int32_t iWait = a_iStart;
    for (int iDone = 0; iDone < std::min(a_iPlace, s_iMostDoublings); ++iDone)
    {
        iWait = quorvad::doubledInterval(iWait);
    }
    return iWait;
}

/// Which try of its series followed after a_iGap seconds. The daemon waits 2, 4, 8, ... times its start period, and
/// these ranges do not overlap. A gap outside all of them began a new series: 1.
int placeOf(std::time_t a_iGap)
{
    for (int iTry = 1; iTry < s_iMostDoublings; ++iTry)
    {
        if (a_iGap >= waitAfter(iTry, quorvad::g_iShortestStartSec) - s_iAttempt &&
            a_iGap <= waitAfter(iTry, quorvad::g_iLongestStartSec) + s_iSlice + s_iAttempt)
        {
            return iTry + 1;
        }
    }
    return 1;
}

/// The latest time of the next try; nothing if no try is left.
std::optional<std::time_t> latestNextTry(const std::vector<std::time_t>& a_oFailures, int a_iTries)
{
    const std::size_t uiCount = a_oFailures.size();
    const int iPlace = uiCount < 2 ? 1 : placeOf(a_oFailures[uiCount - 1] - a_oFailures[uiCount - 2]);
    if (iPlace >= a_iTries)
    {
        return std::nullopt;
    }
    return a_oFailures.back() + waitAfter(iPlace, quorvad::g_iLongestStartSec) + s_iSlice;
}

/// Times of the failures since the last success. Attempts with an unknown outcome are included: the gap to the next one
/// shows whether that was a repetition.
std::vector<std::time_t> failuresOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    std::vector<std::time_t> oTimes;
    for (const korrin::ValueList& oRow : a_oSources.m_oLog)
    {
        const auto oTime = parseTimestamp(textOf(oRow, dbm::DynDnsLog_Timestamp));
        if (!oTime || textOf(oRow, dbm::DynDnsLog_DynDnsId) != textOf(a_oAccount, dbm::Id))
        {
            continue;
        }
        if (isSuccess(judgeAttempt(a_oAccount, a_oSources.m_oStatus, oRow)))
        {
            oTimes.clear();
        }
        else
        {
            oTimes.push_back(*oTime);
        }
    }
    return oTimes;
}

std::string describeFailed(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const std::vector<std::time_t> oTimes = failuresOf(a_oAccount, a_oSources);
    if (oTimes.empty() || oTimes.back() > a_iNow + s_iSlice)
    {
        return "tries again while tries are left";
    }
    const auto oLatest = latestNextTry(oTimes, a_oAccount.getValue(dbm::DynDns_Retry).getInteger());
    if (!oLatest)
    {
        return "no try left: waits for a change of address or settings";
    }
    if (a_iNow > *oLatest + s_iWritten)
    {
        return "a try is overdue: is quorvad running?";
    }
    const std::time_t iSeconds = std::max<std::time_t>(*oLatest - a_iNow, 0);
    return iSeconds < 60 ? "tries again within a minute" : "tries again within " + describeSpan(iSeconds + 59);
}

/// By the account's present settings and what is stored of the answer.
Outcome judgeStored(const korrin::ValueList& a_oAccount, const korrin::ValueList& a_oLogRow)
{
    if (a_oAccount.empty())
    {
        return Outcome::Unknown;
    }
    const int iCode = a_oLogRow.getValue(dbm::DynDnsLog_ResponseCode).getInteger();
    if (isGnudip(a_oAccount))
    {
        return iCode == quorvad::g_iGnudipSuccess ? Outcome::Updated : Outcome::Failed;
    }
    const auto oVerdict = quorvad::judgeExcerpt(iCode,
                                                textOf(a_oLogRow, dbm::DynDnsLog_Response),
                                                {textOf(a_oAccount, dbm::DynDns_ExpectedResultSubString),
                                                 textOf(a_oAccount, dbm::DynDns_UnchangedResultSubString)});
    if (!oVerdict)
    {
        return Outcome::Unknown;
    }
    if (*oVerdict == quorvad::EHttpVerdict::eUnchanged)
    {
        return Outcome::Unchanged;
    }
    return quorvad::isAccepted(*oVerdict) ? Outcome::Updated : Outcome::Failed;
}

} // namespace

const char* nameOutcome(Outcome a_eOutcome)
{
    constexpr std::array apNames{"updated", "unchanged", "failed", "unknown"}; // in the order of Outcome
    static_assert(apNames.size() == static_cast<std::size_t>(Outcome::Unknown) + 1);
    return apNames.at(static_cast<std::size_t>(a_eOutcome));
}

Outcome judgeAttempt(const korrin::ValueList& a_oAccount, const Rows& a_oStatus, const korrin::ValueList& a_oLogRow)
{
    const std::string strId = textOf(a_oLogRow, dbm::DynDnsLog_DynDnsId);
    const korrin::ValueList& oStatus = findLast(a_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
    const korrin::Value& oTimestamp = a_oLogRow.getValue(dbm::DynDnsLog_Timestamp);
    const Outcome eStored = judgeStored(a_oAccount, a_oLogRow);
    if (oStatus.empty() || !(oStatus.getValue(dbm::DynDnsStatus_Timestamp) == oTimestamp))
    {
        return eStored;
    }
    if (!isSet(oStatus, dbm::DynDnsStatus_Success))
    {
        return Outcome::Failed;
    }
    return eStored == Outcome::Unchanged ? eStored : Outcome::Updated;
}

std::optional<Outcome> judgeLast(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    const std::string strId = textOf(a_oAccount, dbm::Id);
    const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
    if (oStatus.empty())
    {
        return std::nullopt;
    }
    const korrin::ValueList& oLog = findLast(a_oSources.m_oLog, dbm::DynDnsLog_DynDnsId, strId);
    if (oLog.getValue(dbm::DynDnsLog_Timestamp) == oStatus.getValue(dbm::DynDnsStatus_Timestamp))
    {
        return judgeAttempt(a_oAccount, a_oSources.m_oStatus, oLog);
    }
    return isSet(oStatus, dbm::DynDnsStatus_Success) ? Outcome::Updated : Outcome::Failed; // its log row has gone
}

std::string describeNext(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const std::vector<Problem> oProblems = findProblems(a_oAccount, a_oSources, quorvad::EInterfaceState::eUnknown);
    if (isStopped(oProblems))
    {
        return oProblems.front().m_strBrief;
    }
    const std::string strId = textOf(a_oAccount, dbm::Id);
    const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
    if (oStatus.empty())
    {
        return "first update within two minutes, else see quorvad's log";
    }
    if (isSet(oStatus, dbm::DynDnsStatus_Success))
    {
        return "nothing until the address changes";
    }
    return describeFailed(a_oAccount, a_oSources, a_iNow);
}

} // namespace cfgctl
