#include "cfgctl/monitoring.h"

#include "cfgctl/account/activity.h"
#include "cfgctl/account/attempts.h"
#include "cfgctl/answer.h"
#include "cfgctl/text.h"
#include "cfgctl/timestamp.h"
#include "platform/base/escape.h"

#include <algorithm>
#include <array>

namespace cfgctl
{

namespace
{

std::string onOneLine(const char* a_pWord, const std::string& a_strText)
{
    return a_pWord + (": " + platform::escape(a_strText));
}

/// The programs that are known not to be connected.
std::vector<std::string> findMissing(const StatusSources& a_oSources)
{
    std::vector<std::string> oMissing;
    for (const auto& [pProgram, pText] : {std::pair(g_pDaemon, "no daemon (quorvad) is connected"),
                                          std::pair(g_pWatcher, "no watcher (netifwatch) is connected")})
    {
        if (!isConnected(a_oSources, pProgram).value_or(true))
        {
            oMissing.emplace_back(pText);
        }
    }
    return oMissing;
}

const korrin::ValueList& accountOf(const AccountState& a_oState, const StatusSources& a_oSources)
{
    return findLast(a_oSources.m_oAccounts, dbm::Id, textOf(a_oState.m_oFacts, dbm::Id));
}

/// Why it is too long ago; empty if it is not.
std::string findAgeFault(const std::optional<std::time_t>& a_oSuccess, std::time_t a_iMaxAge, std::time_t a_iNow)
{
    if (!a_oSuccess)
    {
        return "no success is known";
    }
    return a_iNow - *a_oSuccess > a_iMaxAge ? "last success " + describeAge(a_iNow - *a_oSuccess) : std::string();
}

/// What is wrong with one account; empty if nothing is.
std::string findFault(const AccountState& a_oState,
                      const StatusSources& a_oSources,
                      const std::optional<std::time_t>& a_oMaxAge,
                      std::time_t a_iNow)
{
    const ENext eNext = a_oState.m_oNext.m_eState;
    const std::string strOutcome = textOf(a_oState.m_oFacts, "Outcome");
    if (eNext == ENext::Disabled)
    {
        return {};
    }
    if (eNext == ENext::Impossible || eNext == ENext::Overdue)
    {
        return describeNext(a_oState.m_oNext);
    }
    const korrin::ValueList& oAccount = accountOf(a_oState, a_oSources);
    if (strOutcome == nameOutcome(Outcome::Failed))
    {
        const std::string strAnswer = publicAnswer(textOf(a_oState.m_oFacts, dbm::DynDnsLog_Response), oAccount);
        return describeLast(a_oState) + (strAnswer.empty() ? "" : " (" + strAnswer + ")");
    }
    const bool bFirst = strOutcome == g_pNever && (eNext == ENext::Due || eNext == ENext::Awaited);
    return a_oMaxAge && !bFirst ? findAgeFault(lastSuccess(oAccount, a_oSources), *a_oMaxAge, a_iNow) : std::string();
}

std::string count(std::size_t a_uiNumber, const char* a_pNoun)
{
    return std::to_string(a_uiNumber) + " " + a_pNoun + (a_uiNumber == 1 ? "" : "s");
}

/// The value of a label.
std::string quote(const std::string& a_strText)
{
    std::string strQuoted = "\"";
    for (const char cByte : platform::escape(a_strText))
    {
        strQuoted += cByte == '"' || cByte == '\\' ? "\\" : "";
        strQuoted += cByte;
    }
    return strQuoted + "\"";
}

std::string head(const char* a_pName, const char* a_pHelp)
{
    const std::string strName = std::string("quorvad_") + a_pName;
    return "# HELP " + strName + " " + a_pHelp + "\n# TYPE " + strName + " gauge\n";
}

std::string sample(const char* a_pName, const std::string& a_strLabels, std::time_t a_iValue)
{
    const std::string strLabels = a_strLabels.empty() ? "" : "{" + a_strLabels + "}";
    return std::string("quorvad_") + a_pName + strLabels + " " + std::to_string(a_iValue) + "\n";
}

std::string single(const char* a_pName, const char* a_pHelp, const std::optional<bool>& a_oValue)
{
    return a_oValue ? head(a_pName, a_pHelp) + sample(a_pName, {}, *a_oValue ? 1 : 0) : std::string();
}

using Number = std::optional<std::time_t>;

/// A number of each account.
struct Metric
{
    const char* m_pName;
    const char* m_pHelp;
    Number (*m_pValue)(const AccountState&, const StatusSources&);
};

Number isLastGood(const AccountState& a_oState, const StatusSources& a_oSources)
{
    const auto oLast = judgeLast(accountOf(a_oState, a_oSources), a_oSources);
    return !oLast || *oLast == Outcome::Unknown ? Number() : Number(isSuccess(*oLast) ? 1 : 0);
}

constexpr std::array s_oMetrics{
    Metric{"account_enabled",
           "Whether the account is enabled.",
           [](const AccountState& a_oState, const StatusSources&) -> Number
           { return a_oState.m_oNext.m_eState == ENext::Disabled ? 0 : 1; }},
    Metric{"account_ready",
           "Whether nothing keeps updates from going out.",
           [](const AccountState& a_oState, const StatusSources&) -> Number
           { return isStopped(a_oState.m_oProblems) ? 0 : 1; }},
    Metric{"account_overdue",
           "Whether an outcome should be there and is not.",
           [](const AccountState& a_oState, const StatusSources&) -> Number
           { return a_oState.m_oNext.m_eState == ENext::Overdue ? 1 : 0; }},
    Metric{"account_last_success", "Whether the last attempt succeeded; absent before the first one.", isLastGood},
    Metric{"account_last_attempt_timestamp_seconds",
           "When the last attempt ended, as seconds since 1970.",
           [](const AccountState& a_oState, const StatusSources&) -> Number
           { return parseTimestamp(textOf(a_oState.m_oFacts, dbm::DynDnsStatus_Timestamp)); }},
    Metric{"account_last_success_timestamp_seconds",
           "When the last known success was, as seconds since 1970.",
           [](const AccountState& a_oState, const StatusSources& a_oSources) -> Number
           { return lastSuccess(accountOf(a_oState, a_oSources), a_oSources); }},
    Metric{"account_next_seconds",
           "Until the next update or its outcome, at the latest, in seconds; absent when none is expected.",
           [](const AccountState& a_oState, const StatusSources&) -> Number
           { return a_oState.m_oNext.m_eState == ENext::Overdue ? Number() : a_oState.m_oNext.m_oSeconds; }},
};

std::string labelsOf(const AccountState& a_oState)
{
    const korrin::ValueList& oFacts = a_oState.m_oFacts;
    return "account=" + quote(textOf(oFacts, dbm::Id)) + ",hostname=" + quote(textOf(oFacts, dbm::DynDns_Hostname)) +
           ",interface=" + quote(textOf(oFacts, dbm::Interface));
}

std::string render(const Metric& a_oMetric, const std::vector<AccountState>& a_oStates, const StatusSources& a_oSources)
{
    std::string strSamples;
    for (const AccountState& oState : a_oStates)
    {
        const Number oValue = a_oMetric.m_pValue(oState, a_oSources);
        strSamples += oValue ? sample(a_oMetric.m_pName, labelsOf(oState), *oValue) : "";
    }
    return strSamples.empty() ? strSamples : head(a_oMetric.m_pName, a_oMetric.m_pHelp) + strSamples;
}

std::string serviceUp(bool a_bUp)
{
    return single("service_up", "Whether the configuration service answers.", a_bUp);
}

} // namespace

Health judgeHealth(const std::vector<AccountState>& a_oStates,
                   const StatusSources& a_oSources,
                   const std::optional<std::time_t>& a_oMaxAge,
                   std::time_t a_iNow)
{
    const std::vector<std::string> oMissing = findMissing(a_oSources);
    if (!oMissing.empty())
    {
        return {EHealth::Missing, onOneLine("missing", join(oMissing, "; "))};
    }
    std::vector<std::string> oFaults;
    for (const AccountState& oState : a_oStates)
    {
        const std::string strFault = findFault(oState, a_oSources, a_oMaxAge, a_iNow);
        if (!strFault.empty())
        {
            oFaults.push_back(textOf(oState.m_oFacts, dbm::DynDns_Hostname) + " " + strFault);
        }
    }
    const std::string strAll = count(a_oStates.size(), "account");
    const auto iDisabled =
        std::count_if(a_oStates.begin(),
                      a_oStates.end(),
                      [](const AccountState& a_oState) { return a_oState.m_oNext.m_eState == ENext::Disabled; });
    const std::string strDisabled = iDisabled == 0 ? "" : ", " + std::to_string(iDisabled) + " disabled";
    return oFaults.empty()
               ? Health{EHealth::Well, onOneLine("well", strAll + strDisabled)}
               : Health{EHealth::Failing,
                        onOneLine("failing",
                                  std::to_string(oFaults.size()) + " of " + strAll + ": " + join(oFaults, "; "))};
}

Health judgeWithoutService(const std::string& a_strReason)
{
    return {EHealth::Missing, onOneLine("missing", a_strReason)};
}

std::string makeMetrics(const std::vector<AccountState>& a_oStates, const StatusSources& a_oSources)
{
    std::string strText =
        serviceUp(true) +
        single("daemon_up", "Whether quorvad is connected to the service.", isConnected(a_oSources, g_pDaemon)) +
        single("watcher_up", "Whether netifwatch is connected to the service.", isConnected(a_oSources, g_pWatcher));
    for (const Metric& oMetric : s_oMetrics)
    {
        strText += render(oMetric, a_oStates, a_oSources);
    }
    return strText;
}

std::string makeMetricsWithoutService()
{
    return serviceUp(false);
}

} // namespace cfgctl
