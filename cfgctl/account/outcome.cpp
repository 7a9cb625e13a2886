#include "cfgctl/account/outcome.h"

#include "cfgctl/account/urltemplate.h"

namespace cfgctl
{

namespace
{

/// The daemon stores answers with these characters escaped.
std::string escapeHtml(const std::string& a_strText)
{
    return fillIn(a_strText, {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&#39;"}});
}

} // namespace

bool isSuccess(const korrin::ValueList& a_oAccount, const korrin::ValueList& a_oLogRow)
{
    const int iCode = a_oLogRow.getValue("ResponseCode").getInteger();
    if (a_oAccount.getValue("ServiceType").getText() == "gnudip")
    {
        return iCode == 0;
    }
    const std::string strExpect = escapeHtml(a_oAccount.getValue("ExpectedResultSubString").getText());
    if (strExpect.empty() || iCode == 0)
    {
        return iCode == 200;
    }
    return a_oLogRow.getValue("Response").getText().find(strExpect) != std::string::npos;
}

} // namespace cfgctl
