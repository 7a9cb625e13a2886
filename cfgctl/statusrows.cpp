#include "cfgctl/statusrows.h"

#include "cfgctl/account/attempts.h"
#include "cfgctl/answer.h"
#include "cfgctl/text.h"
#include "cfgctl/timestamp.h"
#include "platform/common/valuejson.h"
#include "platform/common/values.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiReadableAnswer = 8;
constexpr std::size_t s_uiReadableHost = 16;

korrin::Value secondsOf(const Next& a_oNext)
{
    return a_oNext.m_oSeconds
               ? platform::integer(static_cast<int>(std::clamp<std::time_t>(*a_oNext.m_oSeconds, 0, INT_MAX)))
               : korrin::Value(korrin::eValueNull, 0);
}

Cell interfaceCell(const korrin::ValueList& a_oFacts)
{
    const std::string strName = textOf(a_oFacts, dbm::Interface);
    if (strName.empty())
    {
        return {"none", Style::Bad};
    }
    if (isNull(a_oFacts, "InterfaceUp"))
    {
        return {strName + " not monitored", Style::Bad, false, strName + " ?"};
    }
    if (!isSet(a_oFacts, "InterfaceUp"))
    {
        return {strName + " down", Style::Bad};
    }
    std::string strText = strName + " up";
    for (const char* pColumn : {"Addr", "Addr6"})
    {
        const std::string strAddress = textOf(a_oFacts, pColumn);
        strText += (strAddress.empty() ? "" : " ") + strAddress;
    }
    return {strText, Style::Plain, false, strName + " up"};
}

Style styleOf(const Next& a_oNext)
{
    switch (a_oNext.m_eState)
    {
    case ENext::Disabled:
        return Style::Faint;
    case ENext::NoDaemon:
    case ENext::Impossible:
    case ENext::Overdue:
        return Style::Bad;
    default:
        return Style::Plain;
    }
}

bool isUrgent(const Problem& a_oProblem)
{
    return (a_oProblem.m_bStops && a_oProblem.m_strCode != g_pDisabledCode) ||
           a_oProblem.m_strCode == g_pNoWatcherCode || a_oProblem.m_strCode == g_pSignInCode;
}

/// Whether its cause concerns all accounts.
bool concernsAll(const Problem& a_oProblem)
{
    return a_oProblem.m_strCode == g_pNoDaemonCode || a_oProblem.m_strCode == g_pNoWatcherCode;
}

/// "3 min", "2 h", "5 d".
std::string describeBriefly(std::time_t a_iSeconds)
{
    constexpr std::time_t iMinute = 60;
    constexpr std::time_t iHour = 60 * iMinute;
    if (a_iSeconds < iMinute)
    {
        return isAhead(a_iSeconds) ? "?" : "now";
    }
    if (a_iSeconds < 48 * iHour)
    {
        return a_iSeconds < iHour ? std::to_string(a_iSeconds / iMinute) + " min"
                                  : std::to_string(a_iSeconds / iHour) + " h";
    }
    return std::to_string(a_iSeconds / (24 * iHour)) + " d";
}

Cell lastCell(const AccountState& a_oState)
{
    const korrin::ValueList& oFacts = a_oState.m_oFacts;
    const std::string strOutcome = textOf(oFacts, "Outcome");
    const std::string strBrief = isNull(oFacts, "AgeSeconds")
                                     ? strOutcome
                                     : strOutcome + " " + describeBriefly(oFacts.getValue("AgeSeconds").getInteger());
    return {describeLast(a_oState), styleOfOutcome(strOutcome), false, strBrief};
}

} // namespace

Style styleOfOutcome(const std::string& a_strOutcome)
{
    if (a_strOutcome == g_pNever || a_strOutcome == nameOutcome(Outcome::Unknown))
    {
        return Style::Faint;
    }
    return a_strOutcome == nameOutcome(Outcome::Failed) ? Style::Bad : Style::Good;
}

AccountState makeState(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const std::string strId = textOf(a_oAccount, dbm::Id);
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const korrin::ValueList& oInterface = findLast(a_oSources.m_oInterfaces, dbm::Name, strInterface);
    const korrin::ValueList& oStatus = findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, strId);
    const korrin::ValueList& oLog = findLast(a_oSources.m_oLog, dbm::DynDnsStatus_DynDnsId, strId);
    const std::optional<Outcome> oLast = judgeLast(a_oAccount, a_oSources);
    const std::string strTimestamp = textOf(oStatus, dbm::DynDnsStatus_Timestamp);
    std::vector<Problem> oProblems = findProblems(a_oAccount, a_oSources);
    const Next oNext = findNext(a_oAccount, a_oSources, oProblems, a_iNow);
    return {platform::row({{dbm::Id, a_oAccount.getValue(dbm::Id)},
                           {dbm::DynDns_Hostname, a_oAccount.getValue(dbm::DynDns_Hostname)},
                           {dbm::DynDns_ServiceType, a_oAccount.getValue(dbm::DynDns_ServiceType)},
                           {dbm::Interface, a_oAccount.getValue(dbm::Interface)},
                           {"InterfaceUp", oInterface.getValue(dbm::IsUp)},
                           {dbm::Addr, oInterface.getValue(dbm::Addr)},
                           {"Addr6", findLast(a_oSources.m_oIPv6, dbm::Name, strInterface).getValue(dbm::Addr)},
                           {dbm::Enable, a_oAccount.getValue(dbm::Enable)},
                           {"Outcome", platform::text(oLast ? nameOutcome(*oLast) : g_pNever)},
                           {dbm::DynDnsStatus_Timestamp, oStatus.getValue(dbm::DynDnsStatus_Timestamp)},
                           {"AgeSeconds", ageOf(strTimestamp, a_iNow)},
                           {dbm::DynDnsLog_ResponseCode, oLog.getValue(dbm::DynDnsLog_ResponseCode)},
                           {dbm::DynDnsLog_Response, oLog.getValue(dbm::DynDnsLog_Response)},
                           {"Next", platform::text(nameNext(oNext.m_eState))},
                           {"NextSeconds", secondsOf(oNext)}}),
            oNext,
            std::move(oProblems)};
}

std::vector<AccountState> makeStates(const StatusSources& a_oSources, std::time_t a_iNow)
{
    std::vector<AccountState> oStates;
    for (const korrin::ValueList& oAccount : a_oSources.m_oAccounts)
    {
        oStates.push_back(makeState(oAccount, a_oSources, a_iNow));
    }
    return oStates;
}

std::string describeLast(const AccountState& a_oState)
{
    const korrin::ValueList& oFacts = a_oState.m_oFacts;
    const std::string strOutcome = textOf(oFacts, "Outcome");
    if (strOutcome == g_pNever)
    {
        return "not tried yet";
    }
    return strOutcome + " " +
           (isNull(oFacts, "AgeSeconds") ? textOf(oFacts, dbm::DynDnsStatus_Timestamp)
                                         : describeAge(oFacts.getValue("AgeSeconds").getInteger()));
}

Table makeStatusTable(const std::vector<AccountState>& a_oStates)
{
    Table oTable{{"Id", "Hostname", "Interface", "Last", "Answer", "Next"},
                 {},
                 {{4, s_uiReadableAnswer}, 5, 2, 3, {1, s_uiReadableHost}}};
    for (const AccountState& oState : a_oStates)
    {
        const korrin::ValueList& oFacts = oState.m_oFacts;
        oTable.m_oRows.push_back(
            {{textOf(oFacts, dbm::Id), Style::Plain, true},
             {textOf(oFacts, dbm::DynDns_Hostname)},
             interfaceCell(oFacts),
             lastCell(oState),
             {readableAnswer(textOf(oFacts, dbm::DynDnsLog_Response))},
             {describeNext(oState.m_oNext), styleOf(oState.m_oNext), false, describeNextBriefly(oState.m_oNext)}});
    }
    return oTable;
}

void addProblems(nlohmann::ordered_json& a_oJson, const std::vector<Problem>& a_oProblems)
{
    a_oJson["Ready"] = !isStopped(a_oProblems);
    a_oJson["Problems"] = nlohmann::ordered_json::array();
    for (const Problem& oProblem : a_oProblems)
    {
        a_oJson["Problems"].push_back({{"Code", oProblem.m_strCode},
                                       {"Stops", oProblem.m_bStops},
                                       {"What", oProblem.m_strWhat},
                                       {"Cure", oProblem.m_strNext}});
    }
}

std::string statesToJson(const std::vector<AccountState>& a_oStates)
{
    nlohmann::ordered_json oList = nlohmann::ordered_json::array();
    for (const AccountState& oState : a_oStates)
    {
        oList.push_back(oState.m_oFacts);
        addProblems(oList.back(), oState.m_oProblems);
    }
    return oList.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string nameAccounts(const std::vector<std::string>& a_oIds)
{
    return (a_oIds.size() == 1 ? "account " : "accounts ") + join(a_oIds, ", ");
}

std::vector<std::string> findWarnings(const std::vector<AccountState>& a_oStates)
{
    std::vector<std::pair<const Problem*, std::vector<std::string>>> oFound; // with the accounts
    bool bWatcherTold = false;
    for (const AccountState& oState : a_oStates)
    {
        for (const Problem& oProblem : oState.m_oProblems)
        {
            if (oState.m_oNext.m_eState == ENext::Disabled || !isUrgent(oProblem))
            {
                continue;
            }
            bWatcherTold = bWatcherTold || tellsOfWatcher(oProblem);
            const auto it =
                std::find_if(oFound.begin(),
                             oFound.end(),
                             [&](const auto& a_oOne) { return a_oOne.first->m_strWhat == oProblem.m_strWhat; });
            auto& oOne = it == oFound.end() ? oFound.emplace_back(&oProblem, std::vector<std::string>()) : *it;
            oOne.second.push_back(textOf(oState.m_oFacts, dbm::Id));
        }
    }
    std::vector<std::string> oWarnings;
    for (const auto& [pProblem, oIds] : oFound)
    {
        if (pProblem->m_strCode != g_pNoWatcherCode || !bWatcherTold)
        {
            oWarnings.push_back((concernsAll(*pProblem) ? "" : nameAccounts(oIds) + ": ") + tellProblem(*pProblem));
        }
    }
    return oWarnings;
}

} // namespace cfgctl
