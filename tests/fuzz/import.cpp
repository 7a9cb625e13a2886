// A file to import: what is accepted survives export and another import.
#include "cfgctl/errors.h"
#include "cfgctl/tablejson.h"
#include "cfgserver/row.h"
#include "tests/fuzz/fuzz.h"

void fuzz(std::string_view a_strInput)
{
    static cfgctl::Schema oSchema;
    for (std::size_t i = oSchema.size(); i < cfgserver::getSchema().size(); ++i)
    {
        const cfgserver::TableSchema& oTable = cfgserver::getSchema()[i];
        oSchema[oTable.m_strName] = cfgserver::RowReader(oTable, {}).read(cfgserver::makeDefaults(oTable));
    }
    std::string strFile(a_strInput), strExported;
    for (int iRound = 0; iRound < 2; ++iRound)
    {
        std::vector<std::pair<std::string, cfgctl::Rows>> oTables;
        try
        {
            for (const auto& [strTable, oRows] : cfgctl::parseImport(strFile, oSchema))
            {
                oTables.emplace_back(strTable, cfgctl::Rows(oRows.begin(), oRows.end()));
            }
        }
        catch (const cfgctl::Failure&)
        {
            return require(iRound == 0);
        }
        strExported = std::exchange(strFile, cfgctl::tablesToJson(oTables));
    }
    require(strFile == strExported);
}
