#include "cfgctl/commands/commands.h"
#include "cfgctl/errors.h"
#include "cfgctl/importplan.h"
#include "cfgctl/inputfile.h"

namespace cfgctl
{

namespace
{

std::vector<ImportedTable> readImport(const std::string& a_strFile, const Schema& a_oSchema)
{
    const std::string strBytes = readFile(a_strFile, g_uiImportBytes);
    try
    {
        return parseImport(strBytes, a_oSchema);
    }
    catch (const Failure& oError)
    {
        throw Failure((a_strFile == "-" ? std::string("standard input") : a_strFile) + ": " + oError.what() +
                      ". Nothing was written");
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
        a_oDatabase.updateRow(a_oPlan.m_strTable, oRow.getValue("Id").getText(), oRow);
    }
    for (const korrin::ValueList& oRow : a_oPlan.m_oInserts)
    {
        a_oDatabase.insertRow(a_oPlan.m_strTable, oRow);
    }
}

korrin::ValueList summarise(const TablePlan& a_oPlan)
{
    const auto makeNumber = [](unsigned a_uiNumber)
    { return korrin::Value(korrin::eValueInteger, static_cast<int>(a_uiNumber)); };
    korrin::ValueList oRow;
    oRow.add("Table", korrin::Value(korrin::eValueText, a_oPlan.m_strTable));
    oRow.add("Added", makeNumber(a_oPlan.m_uiAdded));
    oRow.add("Changed", makeNumber(a_oPlan.m_uiChanged));
    oRow.add("Deleted", makeNumber(a_oPlan.m_uiDeleted));
    oRow.add("Unchanged", makeNumber(a_oPlan.m_uiUnchanged));
    return oRow;
}

std::string describe(const Rows& a_oSummary)
{
    std::string strText;
    for (const korrin::ValueList& oRow : a_oSummary)
    {
        strText += oRow.getValue("Table").getText() + ": " + oRow.getValue("Added").getText() + " added, " +
                   oRow.getValue("Changed").getText() + " changed, " + oRow.getValue("Deleted").getText() +
                   " deleted, " + oRow.getValue("Unchanged").getText() + " unchanged\n";
    }
    return strText;
}

} // namespace

std::string runImport(Database& a_oDatabase, const Options& a_oOptions)
{
    const Schema oSchema = a_oDatabase.getSchema();
    const std::vector<ImportedTable> oTables = readImport(a_oOptions.m_strFile, oSchema);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience); // from here on what is read stays as it is
    Rows oSummary;
    for (const ImportedTable& oTable : oTables)
    {
        const Rows oPresent = a_oDatabase.getRows(oTable.m_strTable);
        const TablePlan oPlan = planImport(oTable, oSchema.at(oTable.m_strTable), oPresent);
        carryOut(a_oDatabase, oPlan);
        oSummary.push_back(summarise(oPlan));
    }
    a_oDatabase.commit();
    return a_oOptions.m_bJson ? rowsToJson(oSummary) + "\n" : describe(oSummary);
}

} // namespace cfgctl
