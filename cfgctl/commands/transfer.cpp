#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/importplan.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"
#include "config/schema.h"
#include "platform/common/values.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

/// States that other programs write would mislead the daemon if they were restored later or on another machine, so they
/// are exported only on request; what the service itself makes cannot be written at all.
bool isExported(const std::string& a_strTable, bool a_bAll)
{
    const auto uiTable = dbm::findTable(a_strTable);
    if (!uiTable)
    {
        return true;
    }
    const dbm::TableSchema& oSchema = dbm::getSchema()[*uiTable];
    return !oSchema.m_bComputed && (a_bAll || oSchema.m_eKind != dbm::EKind::eState);
}

std::vector<std::string> chooseTables(Database& a_oDatabase, const Options& a_oOptions)
{
    if (!a_oOptions.m_oTables.empty())
    {
        return a_oOptions.m_oTables;
    }
    std::vector<std::string> oTables = a_oDatabase.getTables();
    const auto isLeftOut = [&](const std::string& a_strTable) { return !isExported(a_strTable, a_oOptions.m_bAll); };
    oTables.erase(std::remove_if(oTables.begin(), oTables.end(), isLeftOut), oTables.end());
    return oTables;
}

Rows readRows(Database& a_oDatabase, const std::string& a_strTable, const Options& a_oOptions)
{
    Rows oRows = a_oDatabase.getRows(a_strTable);
    if (!a_oOptions.m_bAll)
    {
        oRows.remove_if(isFoundByWatcher);
    }
    if (!a_oOptions.m_bShowSecrets)
    {
        hideSecrets(a_strTable, oRows);
    }
    return oRows;
}

std::vector<ImportedTable> readImport(const std::string& a_strFile, const Schema& a_oSchema)
{
    const std::string strBytes = readFile(a_strFile, g_uiImportBytes);
    try
    {
        return parseImport(strBytes, a_oSchema);
    }
    catch (const Failure& oError)
    {
        const std::string strName = a_strFile == "-" ? "standard input" : a_strFile;
        throw Failure(strName + ": " + oError.what() + ". Nothing was written");
    }
}

void carryOut(Database& a_oDatabase, const TablePlan& a_oPlan)
{
    for (const std::string& strId : a_oPlan.m_oDeletes)
    {
        a_oDatabase.deleteRow(a_oPlan.m_strTable, strId);
    }
    for (const korrin::ValueList& oRow : a_oPlan.m_oUpdates)
    {
        a_oDatabase.updateRow(a_oPlan.m_strTable, textOf(oRow, "Id"), oRow);
    }
    for (const korrin::ValueList& oRow : a_oPlan.m_oInserts)
    {
        a_oDatabase.insertRow(a_oPlan.m_strTable, oRow);
    }
}

korrin::ValueList summarise(const TablePlan& a_oPlan)
{
    const auto number = [](unsigned a_uiNumber) { return platform::integer(static_cast<int>(a_uiNumber)); };
    return platform::row({{"Table", platform::text(a_oPlan.m_strTable)},
                          {"Added", number(a_oPlan.m_uiAdded)},
                          {"Changed", number(a_oPlan.m_uiChanged)},
                          {"Deleted", number(a_oPlan.m_uiDeleted)},
                          {"Unchanged", number(a_oPlan.m_uiUnchanged)}});
}

std::string describe(const Rows& a_oSummary)
{
    std::string strText;
    for (const korrin::ValueList& oRow : a_oSummary)
    {
        strText += textOf(oRow, "Table") + ": " + textOf(oRow, "Added") + " added, " + textOf(oRow, "Changed") +
                   " changed, " + textOf(oRow, "Deleted") + " deleted, " + textOf(oRow, "Unchanged") + " unchanged\n";
    }
    return strText;
}

} // namespace

std::string runExport(Database& a_oDatabase, const Options& a_oOptions)
{
    std::vector<std::pair<std::string, Rows>> oTables;
    for (const std::string& strTable : chooseTables(a_oDatabase, a_oOptions))
    {
        oTables.emplace_back(strTable, readRows(a_oDatabase, strTable, a_oOptions));
    }
    std::string strJson = tablesToJson(oTables);
    if (a_oOptions.m_strFile == "-")
    {
        return strJson;
    }
    writeFile(a_oOptions.m_strFile, strJson);
    return {};
}

std::string runImport(Database& a_oDatabase, const Options& a_oOptions)
{
    const Schema oSchema = a_oDatabase.getSchema();
    const std::vector<ImportedTable> oTables = readImport(a_oOptions.m_strFile, oSchema);
    a_oDatabase.beginWrite(a_oOptions.m_oAccessTimeout); // from here on, nobody else can change what is read
    Rows oSummary;
    for (const ImportedTable& oTable : oTables)
    {
        const Rows oPresent = a_oDatabase.getRows(oTable.m_strTable);
        const TablePlan oPlan = planImport(oTable, oSchema.at(oTable.m_strTable), oPresent);
        carryOut(a_oDatabase, oPlan);
        oSummary.push_back(summarise(oPlan));
    }
    a_oDatabase.commit();
    return a_oOptions.m_bJson ? rowsToJson(oSummary) : describe(oSummary);
}

} // namespace cfgctl
