#include "cfgctl/account/accountchange.h"

#include "actions/updateurl.h"
#include "cfgctl/account/accountplan.h"
#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "config/schema.h"
#include "platform/common/values.h"

namespace cfgctl
{

namespace
{

namespace dbm = quorvad::dbm;
using platform::text;
using platform::textOf;

/// How a row's URL came from its provider's templates.
struct Origin
{
    std::map<std::string, std::string> m_oParts; ///< placeholder and what stands in its place
    bool m_bDual = false;
};

std::optional<Origin> findOrigin(const Provider& a_oProvider, const std::string& a_strUrl)
{
    for (const bool bDual : {false, true})
    {
        const std::string& strTemplate = bDual ? a_oProvider.m_strUrlDual : a_oProvider.m_strUrl;
        if (auto oParts = matchTemplate(strTemplate, a_strUrl, {g_acLabel, g_acZone, quorvad::Placeholder_Username}))
        {
            return Origin{std::move(*oParts), bDual};
        }
    }
    return std::nullopt;
}

class Planner
{
public:
    Planner(const korrin::ValueList& a_oRow, const AccountChange& a_oChange) : m_oRow(a_oRow), m_oChange(a_oChange) {}

    ChangePlan plan(const Provider* a_pProvider)
    {
        if (m_oChange.m_strHost || m_oChange.m_strUser)
        {
            changeNames(a_pProvider);
        }
        if (m_oChange.m_strInterface)
        {
            const std::string& strInterface = *m_oChange.m_strInterface;
            refuse("The interface '" + strInterface + "'", findInterfaceFault(strInterface));
            take(dbm::Interface, text(strInterface));
        }
        if (m_oChange.m_iRetry)
        {
            take(dbm::DynDns_Retry, platform::integer(*m_oChange.m_iRetry));
        }
        changeTexts();
        return m_oPlan;
    }

private:
    static void refuse(const std::string& a_strSubject, const std::string& a_strFault)
    {
        require(a_strFault.empty(), a_strSubject + " " + a_strFault);
    }
    [[nodiscard]] std::string now(const char* a_pColumn) const { return textOf(m_oRow, a_pColumn); }

    void take(const char* a_pColumn, const korrin::Value& a_oValue)
    {
        if (now(a_pColumn) != a_oValue.getText())
        {
            m_oPlan.m_oColumns.add(a_pColumn, a_oValue);
        }
    }

    void changeNames(const Provider* a_pProvider)
    {
        const std::string strServer = now(dbm::DynDns_ServerAddr);
        if (isGnudip(m_oRow))
        {
            return takePlan(makeGnudipProvider(strServer), {});
        }
        const std::optional<Origin> oOrigin =
            a_pProvider == nullptr ? std::nullopt : findOrigin(*a_pProvider, strServer);
        oOrigin ? takePlan(*a_pProvider, *oOrigin) : changeOwnUrl();
    }

    /// Plans the account afresh, with its present host and user unless they are to change.
    void takePlan(Provider a_oProvider, const Origin& a_oOrigin)
    {
        const auto part = [&](const char* a_pPlaceholder)
        {
            const auto it = a_oOrigin.m_oParts.find(a_pPlaceholder);
            return it == a_oOrigin.m_oParts.end() ? std::string() : percentDecode(it->second);
        };
        const std::string strInUrl = part(quorvad::Placeholder_Username);
        const std::string strUser = strInUrl.empty() ? now(dbm::DynDns_AccountUserName) : strInUrl;
        const bool bFollows = a_oProvider.m_bUserIsHost && strUser == now(dbm::DynDns_Hostname);
        AccountSpec oSpec;
        oSpec.m_strHost = m_oChange.m_strHost.value_or(now(dbm::DynDns_Hostname));
        oSpec.m_strUser = m_oChange.m_strUser.value_or(bFollows ? std::string() : strUser);
        oSpec.m_strInterface = m_oChange.m_strInterface.value_or(now(dbm::Interface));
        oSpec.m_strZone = part(g_acZone);
        oSpec.m_bDual = a_oOrigin.m_bDual;
        a_oProvider.m_strNotes.clear();
        AccountPlan oPlan = planAccount(a_oProvider, oSpec);
        take(dbm::DynDns_Hostname, oPlan.m_oRow.getValue(dbm::DynDns_Hostname));
        take(dbm::DynDns_ServerAddr, oPlan.m_oRow.getValue(dbm::DynDns_ServerAddr));
        if (m_oChange.m_strUser || bFollows)
        {
            take(dbm::DynDns_AccountUserName, oPlan.m_oRow.getValue(dbm::DynDns_AccountUserName));
            m_oPlan.m_oNotes = oPlan.m_oNotes;
        }
    }

    /// A URL that comes from no template that is known: what of it is a host or a user name cannot be told.
    void changeOwnUrl()
    {
        if (m_oChange.m_strHost)
        {
            refuse("The host '" + *m_oChange.m_strHost + "'", findHostFault(*m_oChange.m_strHost));
            take(dbm::DynDns_Hostname, text(*m_oChange.m_strHost));
        }
        if (!m_oChange.m_strUser)
        {
            return;
        }
        const std::string strAssign = "'cfgctl set DynDns Id=" + now(dbm::Id) + " ";
        require(!now(dbm::DynDns_AccountUserName).empty(),
                "The account sends no user name but what its URL may hold, and where that is cannot be told. " +
                    strAssign + "ServerAddr=URL' changes the URL, " + strAssign +
                    "AccountUserName=NAME' adds Basic authentication");
        require(!m_oChange.m_strUser->empty(), "The user name is empty");
        refuse("The user name", findTextFault(*m_oChange.m_strUser));
        require(m_oChange.m_strUser->find(':') == std::string::npos, g_acColonInUser);
        take(dbm::DynDns_AccountUserName, text(*m_oChange.m_strUser));
    }

    void changeTexts()
    {
        if (!m_oChange.m_strExpect && !m_oChange.m_strUnchanged)
        {
            return;
        }
        require(!isGnudip(m_oRow), g_acTextsOfGnudip);
        const std::string strExpect = m_oChange.m_strExpect.value_or(now(dbm::DynDns_ExpectedResultSubString));
        checkTexts(strExpect, m_oChange.m_strUnchanged.value_or(std::string()));
        take(dbm::DynDns_ExpectedResultSubString, text(strExpect));
        if (m_oChange.m_strUnchanged)
        {
            take(dbm::DynDns_UnchangedResultSubString, text(*m_oChange.m_strUnchanged));
        }
        else if (strExpect.empty() && !now(dbm::DynDns_UnchangedResultSubString).empty())
        {
            m_oPlan.m_oNotes.emplace_back("While no text is expected, the text of an unchanged address has no effect.");
        }
    }

    const korrin::ValueList& m_oRow;
    const AccountChange& m_oChange;
    ChangePlan m_oPlan;
};

} // namespace

ChangePlan planChange(const korrin::ValueList& a_oRow, const Provider* a_pProvider, const AccountChange& a_oChange)
{
    return Planner(a_oRow, a_oChange).plan(a_pProvider);
}

} // namespace cfgctl
