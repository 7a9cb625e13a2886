#include "actions/gnudipprotocol.h"
#include "cfgctl/account/attempts.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "cfgctl/timestamp.h"
#include "platform/base/escape.h"
#include "vadro/string/replace.h"

#include <ctime>
#include <nlohmann/json.hpp>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiNameWidth = 13;

struct Fact
{
    const char* m_pKey;  ///< for programs
    const char* m_pName; ///< for people
    std::string m_strText;
};

std::string orNone(const std::string& a_strText)
{
    return a_strText.empty() ? "none" : a_strText;
}

std::string describeSignIn(const korrin::ValueList& a_oAccount)
{
    const std::string strUser = textOf(a_oAccount, dbm::DynDns_AccountUserName);
    if (isGnudip(a_oAccount))
    {
        return "GnuDIP as " + strUser;
    }
    return strUser.empty() ? "by the URL alone" : "Basic authentication as " + strUser;
}

std::string describeSuccess(const korrin::ValueList& a_oAccount)
{
    if (isGnudip(a_oAccount))
    {
        return "code " + std::to_string(quorvad::g_iGnudipSuccess);
    }
    const std::string strExpect = textOf(a_oAccount, dbm::DynDns_ExpectedResultSubString);
    return strExpect.empty() ? "HTTP status 200" : "an answer that contains \"" + strExpect + "\"";
}

std::string describeLast(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::time_t a_iNow)
{
    const std::optional<Outcome> oLast = judgeLast(a_oAccount, a_oSources);
    if (!oLast)
    {
        return "not tried yet";
    }
    const korrin::ValueList& oStatus =
        findLast(a_oSources.m_oStatus, dbm::DynDnsStatus_DynDnsId, textOf(a_oAccount, dbm::Id));
    const std::string strTimestamp = textOf(oStatus, dbm::DynDnsStatus_Timestamp);
    const korrin::Value oAge = ageOf(strTimestamp, a_iNow);
    return std::string(nameOutcome(*oLast)) + " " +
           (oAge.getType() == korrin::eValueNull ? strTimestamp : describeAge(oAge.getInteger()));
}

std::string describeInterface(const std::string& a_strName, const korrin::ValueList& a_oWatch)
{
    if (a_oWatch.empty())
    {
        return a_strName.empty() ? "none" : a_strName + ", not monitored";
    }
    return a_strName + (isSet(a_oWatch, dbm::IsUp) ? ", up" : ", down");
}

/// The server of the next update: the URL as the daemon would fill it in, or the name of the GnuDIP server.
std::string describeServer(const korrin::ValueList& a_oAccount,
                           const StatusSources& a_oSources,
                           const Provider* a_pProvider,
                           bool a_bShowSecrets)
{
    std::string strServer = textOf(a_oAccount, dbm::DynDns_ServerAddr);
    if (isGnudip(a_oAccount))
    {
        return strServer;
    }
    quorvad::UrlValues oValues = urlValuesOf(a_oAccount, a_oSources);
    if (a_bShowSecrets)
    {
        return quorvad::fillPlaceholders(strServer, oValues);
    }
    std::vector<std::string> oPublic;
    if (a_pProvider != nullptr)
    {
        oPublic = {a_pProvider->m_strUrl, a_pProvider->m_strUrlDual};
    }
    oValues.m_strPassword = hideSecret(dbm::Table_DynDns, dbm::DynDns_Password, oValues.m_strPassword);
    return quorvad::fillPlaceholders(hideTemplate(strServer, oPublic), oValues);
}

/// What is known about the next update, in the order of output.
std::vector<Fact> collectFacts(const korrin::ValueList& a_oAccount,
                               const StatusSources& a_oSources,
                               const Provider* a_pProvider,
                               bool a_bShowSecrets)
{
    const std::time_t iNow = std::time(nullptr);
    const std::string strId = textOf(a_oAccount, dbm::Id);
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const korrin::ValueList& oWatch = findLast(a_oSources.m_oInterfaces, dbm::Name, strInterface);
    const korrin::ValueList& oIPv6 = findLast(a_oSources.m_oIPv6, dbm::Name, strInterface);
    const std::string strServers =
        vadro::string::replaceAllOccurrences(nameserversOf(a_oAccount, a_oSources), ",", ", ");
    return {{"Hostname", "Hostname", textOf(a_oAccount, dbm::DynDns_Hostname)},
            {"Provider", "Provider", a_pProvider == nullptr ? "not in the list of providers" : a_pProvider->m_strName},
            {"Server",
             isGnudip(a_oAccount) ? "Server" : "URL",
             describeServer(a_oAccount, a_oSources, a_pProvider, a_bShowSecrets)},
            {"SignIn", "Sign-in", describeSignIn(a_oAccount)},
            {"Success", "Success is", describeSuccess(a_oAccount)},
            {"Tries", "Tries", textOf(a_oAccount, dbm::DynDns_Retry) + " per change"},
            {"Interface", "Interface", describeInterface(strInterface, oWatch)},
            {"IPv4", "IPv4", orNone(textOf(oWatch, dbm::Addr))},
            {"IPv6", "IPv6", orNone(textOf(oIPv6, dbm::Addr))},
            {"DnsServers", "DNS servers", orNone(strServers)},
            {"Last", "Last", describeLast(a_oAccount, a_oSources, iNow)},
            {"Next", "Next", describeNext(a_oAccount, a_oSources, iNow)}};
}

std::string toJson(const std::vector<Fact>& a_oFacts, const std::vector<Problem>& a_oProblems)
{
    nlohmann::ordered_json oJson = nlohmann::ordered_json::object();
    for (const Fact& oFact : a_oFacts)
    {
        oJson[oFact.m_pKey] = oFact.m_strText;
    }
    oJson["Ready"] = !isStopped(a_oProblems);
    oJson["Problems"] = nlohmann::ordered_json::array();
    for (const Problem& oProblem : a_oProblems)
    {
        oJson["Problems"].push_back(
            {{"Stops", oProblem.m_bStops}, {"What", oProblem.m_strWhat}, {"Next", oProblem.m_strNext}});
    }
    return oJson.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string toText(const std::vector<Fact>& a_oFacts, const std::vector<Problem>& a_oProblems)
{
    std::string strText;
    for (const auto& [pKey, pName, strFact] : a_oFacts)
    {
        std::string strName = pName;
        strName.resize(s_uiNameWidth, ' ');
        strText += strName + platform::escape(strFact) + "\n";
    }
    strText += isStopped(a_oProblems) ? "\nNot ready: no update goes out.\n"
                                      : "\nReady: an update goes out at the next change.\n";
    for (const Problem& oProblem : a_oProblems)
    {
        strText += std::string(oProblem.m_bStops ? "- " : "- Warning: ") + platform::escape(oProblem.m_strWhat) +
                   ".\n  Next step: " + platform::escape(oProblem.m_strNext) + "\n";
    }
    return strText;
}

} // namespace

std::string runAccountTest(Database& a_oDatabase, const Options& a_oOptions)
{
    const korrin::ValueList oRow = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds).front();
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    const StatusSources oSources = readSources(a_oDatabase);
    const std::vector<Fact> oFacts =
        collectFacts(oRow, oSources, recogniseProvider(oProviders, oRow), a_oOptions.m_bShowSecrets);
    const std::vector<Problem> oProblems =
        findProblems(oRow, oSources, quorvad::readInterfaceState(textOf(oRow, dbm::Interface)));
    writeOut(a_oOptions.m_bJson ? toJson(oFacts, oProblems) : toText(oFacts, oProblems));
    require(!isStopped(oProblems), "No update of " + nameAccount(oRow) + " will be sent");
    return {};
}

} // namespace cfgctl
