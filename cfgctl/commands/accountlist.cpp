#include "cfgctl/commands/accounts.h"
#include "cfgctl/commands/commands.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/secrets.h"

namespace cfgctl
{

std::string runAccountList(Database& a_oDatabase, const Options& a_oOptions)
{
    const Providers oProviders = readProviders(a_oOptions.m_oAccount.m_strProviders);
    Rows oRows = a_oDatabase.getRows("DynDns");
    Table oTable;
    oTable.m_oHeadings = {"Id", "Hostname", "Provider", "Interface", "User", "Tries", "Enabled"};
    for (korrin::ValueList& oRow : oRows)
    {
        const std::string strProvider = nameProvider(oProviders, oRow);
        const bool bEnabled = oRow.getValue("Enable").getInteger() != 0;
        const std::string strUser = oRow.getValue("AccountUserName").getText();
        oTable.m_oRows.push_back({{oRow.getValue("Id").getText(), Style::Plain, true},
                                  {oRow.getValue("Hostname").getText()},
                                  {strProvider},
                                  {oRow.getValue("Interface").getText()},
                                  {strUser.empty() ? "(none)" : strUser, strUser.empty() ? Style::Faint : Style::Plain},
                                  {oRow.getValue("Retry").getText(), Style::Plain, true},
                                  {bEnabled ? "yes" : "no", bEnabled ? Style::Plain : Style::Faint}});
        oRow.add("Provider", korrin::Value(korrin::eValueText, strProvider));
        if (!a_oOptions.m_bShowSecrets)
        {
            hideSecrets("DynDns", oRow);
        }
    }
    if (a_oOptions.m_bJson)
    {
        return rowsToJson(oRows) + "\n";
    }
    if (oRows.empty())
    {
        complain("No accounts yet. Add one with: cfgctl account add --provider NAME --host HOST --interface NAME");
    }
    return renderTable(oTable, a_oOptions.m_oLayout);
}

} // namespace cfgctl
