#include "cfgctl/account/series.h"

#include "cfgctl/account/attempts.h"
#include "cfgctl/timestamp.h"

#include <algorithm>
#include <set>

namespace cfgctl
{

namespace
{

constexpr int s_iMostDoublings = 20;

/// Whether the try after that one can have followed after a_iGap seconds. Either may have taken long.
bool canFollow(int a_iPlace, std::time_t a_iGap, std::time_t a_iAttempt)
{
    return a_iGap >= waitAfter(a_iPlace, quorvad::g_iShortestStartSec) - a_iAttempt &&
           a_iGap <= waitAfter(a_iPlace, quorvad::g_iLongestStartSec) + g_iStampSlice + a_iAttempt;
}

} // namespace

Failures
failuresOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, const std::optional<Trigger>& a_oStart)
{
    Failures oFailures;
    for (const korrin::ValueList& oRow : a_oSources.m_oLog)
    {
        const auto oTime = parseTimestamp(textOf(oRow, dbm::DynDnsLog_Timestamp));
        if (!oTime || textOf(oRow, dbm::DynDnsLog_DynDnsId) != textOf(a_oAccount, dbm::Id))
        {
            continue;
        }
        if ((a_oStart && *oTime <= a_oStart->m_iTime) ||
            isSuccess(judgeAttempt(a_oAccount, a_oSources.m_oStatus, oRow)))
        {
            oFailures = {{}, true};
            continue;
        }
        oFailures.m_oTimes.push_back(*oTime);
    }
    return oFailures;
}

std::time_t waitAfter(int a_iPlace, int a_iStart)
{
    std::int32_t iWait = a_iStart;
    for (int iDone = 0; iDone < std::min(a_iPlace, s_iMostDoublings); ++iDone)
    {
        iWait = quorvad::doubledInterval(iWait);
    }
    return iWait;
}

int lastPlace(const Failures& a_oFailures, std::time_t a_iAttempt)
{
    std::set<int> oPlaces{1};
    for (int iPlace = 2; iPlace < s_iMostDoublings && !a_oFailures.m_bWhole; ++iPlace)
    {
        oPlaces.insert(iPlace);
    }
    for (std::size_t uiTry = 1; uiTry < a_oFailures.m_oTimes.size(); ++uiTry)
    {
        const std::time_t iGap = a_oFailures.m_oTimes[uiTry] - a_oFailures.m_oTimes[uiTry - 1];
        std::set<int> oNext;
        for (const int iPlace : oPlaces)
        {
            if (canFollow(iPlace, iGap, a_iAttempt))
            {
                oNext.insert(iPlace + 1);
            }
        }
        oPlaces = oNext.empty() ? std::set<int>{1} : oNext;
    }
    return *oPlaces.begin();
}

} // namespace cfgctl
