#include "cfgctl/account/report.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "platform/base/escape.h"

#include <ctime>
#include <nlohmann/json.hpp>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiNameWidth = 13;

std::string toJson(const AccountReport& a_oReport)
{
    nlohmann::ordered_json oJson = nlohmann::ordered_json::object();
    for (const Fact& oFact : a_oReport.m_oFacts)
    {
        oJson[oFact.m_strKey] = oFact.m_strText;
    }
    oJson["Ready"] = a_oReport.isReady();
    oJson["Problems"] = nlohmann::ordered_json::array();
    for (const Problem& oProblem : a_oReport.m_oProblems)
    {
        oJson["Problems"].push_back(
            {{"Stops", oProblem.m_bStops}, {"What", oProblem.m_strWhat}, {"Next", oProblem.m_strNext}});
    }
    return oJson.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string toText(const AccountReport& a_oReport)
{
    std::string strText;
    for (const auto& [strKey, strName, strFact] : a_oReport.m_oFacts)
    {
        strText += strName + std::string(s_uiNameWidth - strName.size(), ' ') + platform::escape(strFact) + "\n";
    }
    strText += a_oReport.isReady() ? "\nReady: an update goes out at the next change.\n"
                                   : "\nNot ready: no update goes out.\n";
    for (const Problem& oProblem : a_oReport.m_oProblems)
    {
        strText += std::string(oProblem.m_bStops ? "- " : "- but: ") + platform::escape(oProblem.m_strWhat) +
                   ".\n  Next step: " + platform::escape(oProblem.m_strNext) + "\n";
    }
    return strText;
}

} // namespace

std::string runAccountTest(Database& a_oDatabase, const Options& a_oOptions)
{
    const korrin::ValueList oRow = readAccounts(a_oDatabase, a_oOptions.m_oAccount.m_oIds).front();
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    const Provider* pProvider =
        recogniseProvider(oProviders, oRow.getValue("ServiceType").getText(), oRow.getValue("ServerAddr").getText());
    const InterfaceState eState = readInterfaceState(oRow.getValue("Interface").getText());
    const AccountReport oReport =
        makeReport(oRow, readSources(a_oDatabase), pProvider, eState, a_oOptions.m_bShowSecrets, std::time(nullptr));
    writeOut(a_oOptions.m_bJson ? toJson(oReport) : toText(oReport));
    if (!oReport.isReady())
    {
        throw Failure("No update of " + nameAccount(oRow) + " goes out as things are");
    }
    return {};
}

} // namespace cfgctl
