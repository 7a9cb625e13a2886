#include "cfgctl/commands/commands.h"
#include "cfgctl/rowselection.h"

namespace cfgctl
{

std::string runAdd(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    const korrin::ValueList oRow = makeRow(a_oDatabase, strTable, a_oOptions.m_oValues);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.insertRow(strTable, oRow);
    const korrin::Value oId(korrin::eValueInteger, a_oDatabase.getLastId(strTable));
    a_oDatabase.commit();
    if (!a_oOptions.m_bJson)
    {
        return oId.getText() + "\n";
    }
    korrin::ValueList oResult;
    oResult.add("Id", oId);
    return rowToJson(oResult) + "\n";
}

std::string runSet(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    const korrin::ValueList oRow = makeRow(a_oDatabase, strTable, a_oOptions.m_oValues);
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.updateRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey), oRow);
    a_oDatabase.commit();
    return {};
}

std::string runDelete(Database& a_oDatabase, const Options& a_oOptions)
{
    const std::string& strTable = a_oOptions.m_strTable;
    a_oDatabase.beginWrite(a_oOptions.m_oPatience);
    a_oDatabase.deleteRow(strTable, selectId(a_oDatabase, strTable, a_oOptions.m_oKey));
    a_oDatabase.commit();
    return {};
}

} // namespace cfgctl
