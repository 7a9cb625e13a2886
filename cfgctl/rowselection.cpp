#include "cfgctl/rowselection.h"

#include "cfgctl/columnvalue.h"
#include "cfgctl/errors.h"
#include "cfgctl/secrets.h"

namespace cfgctl
{

Rows selectRows(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey)
{
    const korrin::ValueList oColumns = a_oDatabase.getColumns(a_strTable);
    if (a_oKey.empty())
    {
        return a_oDatabase.getRows(a_strTable);
    }
    const std::string& strColumn = a_oKey.front().m_strColumn;
    const korrin::Value oValue = parseValue(a_strTable, oColumns, strColumn, a_oKey.front().m_strValue);
    Rows oRows = a_oDatabase.getRows(a_strTable);
    oRows.remove_if([&](const korrin::ValueList& a_oRow) { return a_oRow.getValue(strColumn) != oValue; });
    return oRows;
}

std::string selectId(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oKey)
{
    const Rows oRows = selectRows(a_oDatabase, a_strTable, a_oKey);
    if (oRows.size() == 1)
    {
        return oRows.front().getValue("Id").getText();
    }
    const std::string& strColumn = a_oKey.front().m_strColumn;
    const std::string strKey = strColumn + "=" + hideSecret(a_strTable, strColumn, a_oKey.front().m_strValue);
    if (oRows.empty())
    {
        throw Failure("Table " + a_strTable + " has no row with " + strKey + " ('cfgctl show " + a_strTable +
                      "' lists them)");
    }
    std::string strIds;
    for (const korrin::ValueList& oRow : oRows)
    {
        strIds += (strIds.empty() ? "" : ", ") + oRow.getValue("Id").getText();
    }
    throw Failure(std::to_string(oRows.size()) + " rows of table " + a_strTable + " have " + strKey +
                  "; name one by its Id: " + strIds);
}

korrin::ValueList
makeRow(Database& a_oDatabase, const std::string& a_strTable, const std::vector<Assignment>& a_oValues)
{
    const korrin::ValueList oColumns = a_oDatabase.getColumns(a_strTable);
    korrin::ValueList oRow;
    for (const Assignment& oAssignment : a_oValues)
    {
        const std::string& strColumn = oAssignment.m_strColumn;
        oRow.add(strColumn, parseValue(a_strTable, oColumns, strColumn, oAssignment.m_strValue));
    }
    return oRow;
}

} // namespace cfgctl
