#include "cfgctl/account/attempts.h"

#include "actions/gnudipprotocol.h"
#include "actions/httpreply.h"
#include "cfgctl/account/provider.h"
#include "cfgctl/timestamp.h"

#include <array>

namespace cfgctl
{

namespace
{

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

std::optional<std::time_t> lastSuccess(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    const std::string strId = textOf(a_oAccount, dbm::Id);
    const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
    if (isSet(oStatus, dbm::DynDnsStatus_Success))
    {
        return parseTimestamp(textOf(oStatus, dbm::DynDnsStatus_Timestamp));
    }
    std::optional<std::time_t> oLast;
    for (const korrin::ValueList& oRow : a_oSources.m_oLog)
    {
        const bool bOf = textOf(oRow, dbm::DynDnsLog_DynDnsId) == strId;
        if (bOf && isSuccess(judgeAttempt(a_oAccount, a_oSources.m_oStatus, oRow)))
        {
            oLast = parseTimestamp(textOf(oRow, dbm::DynDnsLog_Timestamp));
        }
    }
    return oLast;
}

} // namespace cfgctl
