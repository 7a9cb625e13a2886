// The configuration of another client, in each format: what is accepted stays within the limits and can be planned.
#include "cfgctl/errors.h"
#include "cfgctl/foreign/takeover.h"
#include "tests/fuzz/fuzz.h"

void fuzz(std::string_view a_strInput)
{
    static const cfgctl::Providers oProviders = cfgctl::loadProviders({}).m_oProviders;
    for (const std::string& strFormat : cfgctl::getFormats())
    {
        try
        {
            const cfgctl::ClientFile oFile = cfgctl::parseClientFile(a_strInput, strFormat);
            require(oFile.m_oAccounts.size() <= cfgctl::g_uiForeignAccounts);
            for (const cfgctl::ForeignAccount& oAccount : oFile.m_oAccounts)
            {
                const cfgctl::Takeover oTakeover = cfgctl::planTakeover(oProviders, oAccount, "eth0");
                require(oTakeover.m_strReason.empty() == !oTakeover.m_oPlan.m_oRow.empty());
            }
        }
        catch (const cfgctl::Failure& oError)
        {
            require(std::string_view(oError.what()).substr(0, 5) == "line ");
        }
    }
}
