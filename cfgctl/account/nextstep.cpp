#include "cfgctl/account/nextstep.h"

#include "cfgctl/account/outcome.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/timestamp.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

constexpr std::time_t s_iShortestStart = 51;
constexpr std::time_t s_iLongestStart = 70;
constexpr std::time_t s_iSlice = 5;    // the daemon looks at its deadline every four seconds
constexpr std::time_t s_iAttempt = 12; // an attempt may take that long before its row is stamped
constexpr std::time_t s_iWritten = 75; // rows are written once a minute
constexpr int s_iMostDoublings = 20;

/// The place of the second of two tries in its series, 1 for a first one.
int placeOf(std::time_t a_iGap)
{
    for (int iTry = 1; iTry < s_iMostDoublings; ++iTry)
    {
        const std::time_t iFactor = std::time_t{1} << static_cast<unsigned>(iTry);
        if (a_iGap >= iFactor * s_iShortestStart - s_iAttempt &&
            a_iGap <= iFactor * s_iLongestStart + s_iSlice + s_iAttempt)
        {
            return iTry + 1;
        }
    }
    return 1;
}

/// Times of the failures since the last success.
std::vector<std::time_t> failuresOf(const korrin::ValueList& a_oAccount, const Rows& a_oLog)
{
    std::vector<std::time_t> oTimes;
    for (const korrin::ValueList& oRow : a_oLog)
    {
        const auto oTime = parseTimestamp(oRow.getValue("Timestamp").getText());
        if (!oTime || oRow.getValue("DynDnsId").getText() != a_oAccount.getValue("Id").getText())
        {
            continue;
        }
        if (isSuccess(a_oAccount, oRow))
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
    const std::vector<std::time_t> oTimes = failuresOf(a_oAccount, a_oSources.m_oLog);
    if (oTimes.empty() || oTimes.back() > a_iNow + s_iSlice)
    {
        return "tries again while tries are left";
    }
    const NextTry oNext = estimateNextTry(oTimes, a_oAccount.getValue("Retry").getInteger());
    if (oNext.m_bUsedUp)
    {
        return "no try left: waits for a change of address or settings";
    }
    if (a_iNow > oNext.m_iLatest + s_iWritten)
    {
        return "a try is overdue: is quorvad running?";
    }
    const std::time_t iSeconds = std::max<std::time_t>(oNext.m_iLatest - a_iNow, 0);
    return iSeconds < 60 ? "tries again within a minute" : "tries again within " + describeSpan(iSeconds + 59);
}

} // namespace

NextTry estimateNextTry(const std::vector<std::time_t>& a_oFailures, int a_iTries)
{
    const std::size_t uiCount = a_oFailures.size();
    const int iPlace = uiCount < 2 ? 1 : placeOf(a_oFailures[uiCount - 1] - a_oFailures[uiCount - 2]);
    NextTry oNext;
    oNext.m_bUsedUp = iPlace >= a_iTries;
    const std::time_t iFactor = std::time_t{1} << static_cast<unsigned>(iPlace);
    oNext.m_iEarliest = a_oFailures.back() + iFactor * s_iShortestStart - s_iAttempt;
    oNext.m_iLatest = a_oFailures.back() + iFactor * s_iLongestStart + s_iSlice;
    return oNext;
}

std::string describeNext(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const std::vector<Problem> oProblems = findProblems(a_oAccount, a_oSources, InterfaceState::Unknown);
    if (!oProblems.empty() && oProblems.front().m_bStops)
    {
        return oProblems.front().m_strBrief;
    }
    const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, "DynDnsId", a_oAccount.getValue("Id").getText());
    if (oStatus.empty())
    {
        return "first update within two minutes, else see quorvad's log";
    }
    if (oStatus.getValue("Success").getInteger() != 0)
    {
        return "nothing until the address changes";
    }
    return describeFailed(a_oAccount, a_oSources, a_iNow);
}

} // namespace cfgctl
