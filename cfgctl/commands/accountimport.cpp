#include "cfgctl/account/problems.h"
#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/foreign/takeover.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/strictjson.h"
#include "cfgctl/text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

namespace cfgctl
{

namespace
{

/// A takeover and what came of it.
struct Line
{
    Takeover m_oTakeover;
    std::string m_strResult; ///< "add", "added", "exists" or "left out"
    std::string m_strId;     ///< of the account that was added or exists
};

std::vector<Line> readLines(const Options& a_oOptions, std::vector<std::string>& a_oNotes)
{
    const AccountOptions& oAccount = a_oOptions.m_oAccount;
    const std::string strBytes = readFile(a_oOptions.m_strFile, g_uiClientFileBytes);
    const std::string strName = a_oOptions.m_strFile == "-" ? "standard input" : a_oOptions.m_strFile;
    ClientFile oFile = within(strName + ": ", [&] { return parseClientFile(strBytes, oAccount.m_strFormat); });
    require(!oFile.m_oAccounts.empty(), strName + ": it has no account");
    a_oNotes = std::move(oFile.m_oNotes);
    const Providers oProviders = readProviders(oAccount.m_strProviders);
    std::vector<Line> oLines;
    for (const ForeignAccount& oForeign : oFile.m_oAccounts)
    {
        oLines.push_back({planTakeover(oProviders, oForeign, oAccount.m_oSpec.m_strInterface), "left out", {}});
    }
    return oLines;
}

/// Decides on each line, and adds what can be added if that is wanted.
void addAll(Database& a_oDatabase, std::vector<Line>& a_oLines, bool a_bWrite)
{
    Rows oPresent = a_oDatabase.getRows(dbm::Table_DynDns);
    const korrin::ValueList oColumns = a_oDatabase.getColumns(dbm::Table_DynDns);
    for (Line& oLine : a_oLines)
    {
        const korrin::ValueList& oRow = oLine.m_oTakeover.m_oPlan.m_oRow;
        const auto isSame = [&](const korrin::ValueList& a_oOther) { return isSameName(a_oOther, oRow); };
        if (!oLine.m_oTakeover.m_strReason.empty())
        {
            continue;
        }
        if (const auto it = std::find_if(oPresent.begin(), oPresent.end(), isSame); it != oPresent.end())
        {
            oLine.m_strResult = "exists";
            oLine.m_strId = textOf(*it, dbm::Id);
            continue;
        }
        fitToColumns(oColumns, oLine.m_oTakeover.m_oPlan);
        if (a_bWrite)
        {
            a_oDatabase.insertRow(dbm::Table_DynDns, oRow);
        }
        oLine.m_strResult = a_bWrite ? "added" : "add";
        oPresent.push_back(oRow);
    }
}

/// Enters the Ids of the rows that were added, which are the table's last ones. Returns them.
std::vector<std::string> readIds(Database& a_oDatabase, std::vector<Line>& a_oLines)
{
    const Rows oRows = a_oDatabase.getRows(dbm::Table_DynDns); // a writer reads what it wrote
    auto it = oRows.rbegin();
    std::vector<std::string> oIds;
    for (auto itLine = a_oLines.rbegin(); itLine != a_oLines.rend(); ++itLine)
    {
        if (itLine->m_strResult == "added")
        {
            itLine->m_strId = textOf(*it++, dbm::Id);
            oIds.push_back(itLine->m_strId);
        }
    }
    return oIds;
}

std::string showJson(const std::vector<Line>& a_oLines)
{
    Json oList = Json::array();
    for (const Line& oLine : a_oLines)
    {
        const Takeover& oTakeover = oLine.m_oTakeover;
        Json& oEntry = oList.emplace_back();
        oEntry = {{"Line", oTakeover.m_uiLine},
                  {dbm::DynDns_Hostname, oTakeover.m_oSpec.m_strHost},
                  {"Provider", oTakeover.m_oProvider.m_strName},
                  {dbm::DynDns_AccountUserName, oTakeover.m_oSpec.m_strUser},
                  {dbm::Interface, oTakeover.m_oSpec.m_strInterface},
                  {"Result", oLine.m_strResult}};
        oEntry[dbm::Id] = oLine.m_strId.empty() ? Json() : Json(std::stoi(oLine.m_strId));
        oEntry["Reason"] = oTakeover.m_strReason.empty() ? Json() : Json(oTakeover.m_strReason);
    }
    return oList.dump(2) + "\n";
}

std::string showTable(const std::vector<Line>& a_oLines, const Layout& a_oLayout)
{
    Table oTable{{"Line", "Host", "Provider", "User", "Interface", "Result"}, {}};
    std::string strReasons;
    std::string strLast;
    for (const Line& oLine : a_oLines)
    {
        const Takeover& oTakeover = oLine.m_oTakeover;
        const std::string strId = oLine.m_strId.empty() ? std::string() : " as " + oLine.m_strId;
        const Style eStyle = oTakeover.m_strReason.empty() ? Style::Plain : Style::Bad;
        oTable.m_oRows.push_back({{std::to_string(oTakeover.m_uiLine), Style::Plain, true},
                                  {oTakeover.m_oSpec.m_strHost},
                                  {oTakeover.m_oProvider.m_strName},
                                  {oTakeover.m_oSpec.m_strUser},
                                  {oTakeover.m_oSpec.m_strInterface},
                                  {oLine.m_strResult + strId, eStyle}});
        if (!oTakeover.m_strReason.empty())
        {
            const std::string strReason = "line " + std::to_string(oTakeover.m_uiLine) + ": " + oTakeover.m_strReason;
            strReasons += strReason == strLast
                              ? ""
                              : wrapWords(strReason, a_oLayout.m_uiWidth, 2) + "\n"; // one line for all hosts of a line
            strLast = strReason;
        }
    }
    return renderTable(oTable, a_oLayout) + (strReasons.empty() ? "" : "\nLeft out:\n" + strReasons);
}

/// What the person should know of those that are or would be added, each thing once.
class Warnings
{
public:
    void add(const Line& a_oLine, const StatusSources& a_oSources)
    {
        const Provider& oProvider = a_oLine.m_oTakeover.m_oProvider;
        const AccountPlan& oPlan = a_oLine.m_oTakeover.m_oPlan;
        if (!oProvider.m_bSure)
        {
            add(oProvider.m_strKey, describeDoubt(oProvider));
        }
        for (const std::string& strNote : oPlan.m_oNotes)
        {
            add(strNote, strNote == oProvider.m_strNotes ? std::string() : strNote); // for who adds it by hand
        }
        for (const Problem& oProblem : findProblems(oPlan.m_oRow, a_oSources))
        {
            add(oProblem.m_strWhat, tellProblem(oProblem));
        }
    }
    void add(const std::string& a_strCause, const std::string& a_strText)
    {
        if (m_oCauses.insert(a_strCause).second && !a_strText.empty())
        {
            m_oTexts.push_back(a_strText);
        }
    }
    [[nodiscard]] const std::vector<std::string>& getTexts() const { return m_oTexts; }

private:
    std::set<std::string> m_oCauses;
    std::vector<std::string> m_oTexts;
};

void warnOf(const std::vector<Line>& a_oLines,
            const std::vector<std::string>& a_oNotes,
            const StatusSources& a_oSources)
{
    Warnings oWarnings;
    for (const std::string& strNote : a_oNotes)
    {
        oWarnings.add(strNote, strNote);
    }
    for (const Line& oLine : a_oLines)
    {
        if (oLine.m_strResult == "add" || oLine.m_strResult == "added")
        {
            oWarnings.add(oLine, a_oSources);
        }
    }
    std::for_each(oWarnings.getTexts().begin(), oWarnings.getTexts().end(), warn);
}

std::size_t countResults(const std::vector<Line>& a_oLines, const char* a_pResult)
{
    const auto isIt = [&](const Line& a_oLine) { return a_oLine.m_strResult == a_pResult; };
    return static_cast<std::size_t>(std::count_if(a_oLines.begin(), a_oLines.end(), isIt));
}

std::string countAccounts(std::size_t a_uiCount)
{
    return std::to_string(a_uiCount) + (a_uiCount == 1 ? " account" : " accounts");
}

} // namespace

std::string runAccountImport(Database& a_oDatabase, const Options& a_oOptions)
{
    const bool bWrite = a_oOptions.m_oAccount.m_bYes;
    std::vector<std::string> oNotes;
    std::vector<Line> oLines = readLines(a_oOptions, oNotes);
    if (bWrite)
    {
        a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout);
    }
    addAll(a_oDatabase, oLines, bWrite);
    std::vector<std::string> oIds;
    if (bWrite)
    {
        oIds = readIds(a_oDatabase, oLines);
    }
    if (!oIds.empty())
    {
        a_oDatabase.commit();
    }
    writeChange(a_oDatabase, a_oOptions, oIds, showTable(oLines, a_oOptions.m_oLayout), showJson(oLines));
    warnOf(oLines, oNotes, readSources(a_oDatabase));
    const std::size_t uiWanted = countResults(oLines, "add");
    require(uiWanted == 0, "Nothing was written; --yes adds " + countAccounts(uiWanted));
    const std::size_t uiLeftOut = countResults(oLines, "left out");
    require(uiLeftOut == 0, countAccounts(uiLeftOut) + " of the file left out");
    return {};
}

} // namespace cfgctl
