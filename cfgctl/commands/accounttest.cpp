#include "actions/gnudipprotocol.h"
#include "cfgctl/account/problems.h"
#include "cfgctl/answer.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "cfgctl/statusrows.h"
#include "cfgctl/text.h"
#include "platform/base/escape.h"
#include "platform/common/valuejson.h"
#include "vadro/string/replace.h"

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>
#include <sstream>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiNameWidth = 13;

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
    const std::string strUnchanged = textOf(a_oAccount, dbm::DynDns_UnchangedResultSubString);
    return strExpect.empty() ? "HTTP status 200"
                             : "an answer that contains \"" + strExpect +
                                   (strUnchanged.empty() ? "\"" : "\" or \"" + strUnchanged + "\"");
}

std::string describeInterface(const korrin::ValueList& a_oFacts)
{
    const std::string strName = orNone(textOf(a_oFacts, dbm::Interface));
    if (isNull(a_oFacts, "InterfaceUp"))
    {
        return textOf(a_oFacts, dbm::Interface).empty() ? strName : strName + ", not monitored";
    }
    return strName + (isSet(a_oFacts, "InterfaceUp") ? ", up" : ", down");
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

/// What the report is made of.
struct Report
{
    korrin::ValueList m_oAccount;
    StatusSources m_oSources;
    const Provider* m_pProvider; ///< null: not in the list
    AccountState m_oState;
    std::string m_strServer; ///< where the next update goes
};

std::string listServers(const Report& a_oReport)
{
    return vadro::string::replaceAllOccurrences(nameserversOf(a_oReport.m_oAccount, a_oReport.m_oSources), ",", ", ");
}

std::string toJson(const Report& a_oReport)
{
    nlohmann::ordered_json oJson = a_oReport.m_oState.m_oFacts;
    oJson["Provider"] = nullptr;
    if (a_oReport.m_pProvider != nullptr)
    {
        oJson["Provider"] = a_oReport.m_pProvider->m_strKey;
    }
    oJson["Server"] = a_oReport.m_strServer;
    for (const char* pColumn : {dbm::DynDns_AccountUserName,
                                dbm::DynDns_ExpectedResultSubString,
                                dbm::DynDns_UnchangedResultSubString,
                                dbm::DynDns_Retry})
    {
        oJson[pColumn] = a_oReport.m_oAccount.getValue(pColumn);
    }
    oJson["DnsServers"] = nameserversOf(a_oReport.m_oAccount, a_oReport.m_oSources);
    addProblems(oJson, a_oReport.m_oState.m_oProblems);
    return oJson.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string line(const char* a_pName, const std::string& a_strFact)
{
    std::string strName = a_pName;
    strName.resize(s_uiNameWidth, ' ');
    return strName + platform::escape(a_strFact) + "\n";
}

/// What came of the last try; nothing before the first one.
std::string describeAnswer(const Report& a_oReport)
{
    const korrin::ValueList& oFacts = a_oReport.m_oState.m_oFacts;
    const std::string strAnswer = publicAnswer(textOf(oFacts, dbm::DynDnsLog_Response), a_oReport.m_oAccount);
    const std::string strCode = textOf(oFacts, dbm::DynDnsLog_ResponseCode);
    return strCode.empty() ? strCode : line("Answer", "code " + strCode + (strAnswer.empty() ? "" : ": " + strAnswer));
}

std::string describeFacts(const Report& a_oReport)
{
    const korrin::ValueList& oAccount = a_oReport.m_oAccount;
    const korrin::ValueList& oFacts = a_oReport.m_oState.m_oFacts;
    return line("Hostname", textOf(oAccount, dbm::DynDns_Hostname)) +
           line("Provider",
                a_oReport.m_pProvider == nullptr ? "not in the list of providers" : a_oReport.m_pProvider->m_strName) +
           line(isGnudip(oAccount) ? "Server" : "URL", a_oReport.m_strServer) +
           line("Sign-in", describeSignIn(oAccount)) + line("Success is", describeSuccess(oAccount)) +
           line("Tries", textOf(oAccount, dbm::DynDns_Retry) + " per change") +
           line("Interface", describeInterface(oFacts)) + line("IPv4", orNone(textOf(oFacts, dbm::Addr))) +
           line("IPv6", orNone(textOf(oFacts, "Addr6"))) + line("DNS servers", orNone(listServers(a_oReport))) +
           line("Last", describeLast(a_oReport.m_oState)) + describeAnswer(a_oReport) +
           line("Next", describeNext(a_oReport.m_oState.m_oNext));
}

std::string toText(const Report& a_oReport, std::size_t a_uiWidth)
{
    const std::size_t uiNarrow = a_uiWidth - std::min<std::size_t>(a_uiWidth, 2);
    std::string strText;
    std::istringstream oFacts(describeFacts(a_oReport));
    for (std::string strLine; std::getline(oFacts, strLine);)
    {
        strText += wrapWords(strLine, a_uiWidth, s_uiNameWidth) + "\n";
    }
    strText += "\n" + wrapWords(tellNext(a_oReport.m_oState.m_oNext), a_uiWidth) + "\n";
    for (const Problem& oProblem : a_oReport.m_oState.m_oProblems)
    {
        const std::string strWhat = (oProblem.m_bStops ? "- " : "warning: ") + platform::escape(oProblem.m_strWhat);
        strText += wrapWords(strWhat + ".", a_uiWidth, 2) + "\n" + "  " +
                   wrapWords("Next step: " + platform::escape(oProblem.m_strNext), uiNarrow, 4) + "\n";
    }
    return strText;
}

} // namespace

std::string runAccountTest(Database& a_oDatabase, const Options& a_oOptions)
{
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    const korrin::ValueList oAccount = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds).front();
    Report oReport{oAccount, readSources(a_oDatabase), recogniseProvider(oProviders, oAccount), {}, {}};
    oReport.m_oState = makeState(oAccount, oReport.m_oSources, std::time(nullptr));
    oReport.m_strServer = describeServer(oAccount, oReport.m_oSources, oReport.m_pProvider, a_oOptions.m_bShowSecrets);
    writeOut(a_oOptions.m_bJson ? toJson(oReport) : toText(oReport, a_oOptions.m_oLayout.m_uiWidth));
    if (isStopped(oReport.m_oState.m_oProblems))
    {
        throw Exit{1};
    }
    return {};
}

} // namespace cfgctl
