#include "cfgctl/commands/commands.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/statusrows.h"

#include <ctime>

namespace cfgctl
{

std::string runStatus(Database& a_oDatabase, const Options& a_oOptions)
{
    const Rows oRows = makeStatusRows(readSources(a_oDatabase), std::time(nullptr));
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows) + "\n";
    }
    if (oRows.empty())
    {
        complain("No accounts yet. Add one with: cfgctl account add --provider NAME --host HOST --interface NAME");
    }
    return renderTable(makeStatusTable(oRows), a_oOptions.m_oLayout);
}

} // namespace cfgctl
