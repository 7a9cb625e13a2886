#include "cfgctl/account/problems.h"

#include "cfgctl/account/problemfinder.h"
#include "config/nameservers.h"

#include <algorithm>

namespace cfgctl
{

namespace
{

/// What keeps the daemon from trying the account at all.
class SettingProblems : public ProblemFinder
{
public:
    using ProblemFinder::ProblemFinder;

    void find()
    {
        stopIf(!isSet(m_oAccount, dbm::Enable),
               g_pDisabledCode,
               "The account is disabled",
               "'cfgctl account enable " + idOrPlaceholder() + "' enables it",
               "nothing: disabled");
        const std::string strService = text(dbm::DynDns_ServiceType);
        stopIf(strService != dbm::ServiceType_UpdateUrl && strService != dbm::ServiceType_Gnudip,
               "service-type",
               "Unknown ServiceType '" + strService + "'",
               setting(std::string("ServiceType=") + dbm::ServiceType_UpdateUrl) + "; " + dbm::ServiceType_Gnudip +
                   " is the other one",
               "nothing: unknown ServiceType");
        stopIf(m_oAccount.getValue(dbm::DynDns_Retry).getInteger() <= 0,
               "no-tries",
               "Retry is not above 0, so no try is made",
               change("--retry 5", "allows five"),
               "nothing: Retry is 0");
        stopIf(m_strInterface.empty(),
               "no-interface",
               "No interface is set",
               change("--interface NAME", "sets it"),
               "nothing: no interface");
    }
};

} // namespace

std::vector<Problem> findProblems(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    std::vector<Problem> oFound;
    SettingProblems(a_oAccount, a_oSources, oFound).find();
    findMachineProblems(a_oAccount, a_oSources, oFound);
    findRequestProblems(a_oAccount, a_oSources, oFound);
    std::stable_partition(oFound.begin(), oFound.end(), [](const Problem& a_oProblem) { return a_oProblem.m_bStops; });
    return oFound;
}

bool tellsOfWatcher(const Problem& a_oProblem)
{
    return a_oProblem.m_strCode == g_pAddressCode || a_oProblem.m_strCode == g_pNotMonitoredCode;
}

std::string tellProblem(const Problem& a_oProblem)
{
    return a_oProblem.m_strWhat + "; " + a_oProblem.m_strNext;
}

bool isStopped(const std::vector<Problem>& a_oProblems)
{
    return !a_oProblems.empty() && a_oProblems.front().m_bStops;
}

quorvad::UrlValues urlValuesOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const auto addressIn = [&](const Rows& a_oRows)
    { return findLast(a_oRows, dbm::Name, strInterface).getValue(dbm::Addr).getText(); };
    quorvad::UrlValues oValues;
    oValues.m_strIpAddr = addressIn(a_oSources.m_oInterfaces);
    oValues.m_strIpAddr6 = addressIn(a_oSources.m_oIPv6);
    oValues.m_strDomain = textOf(a_oAccount, dbm::DynDns_Hostname);
    oValues.m_strUsername = textOf(a_oAccount, dbm::DynDns_AccountUserName);
    oValues.m_strPassword = textOf(a_oAccount, dbm::DynDns_Password);
    oValues.m_strSerialNo = findLast(a_oSources.m_oSerial, dbm::Id, "1").getValue(dbm::etl_serial_no).getText();
    return oValues;
}

std::string nameserversOf(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources)
{
    std::vector<const korrin::ValueList*> oServers;
    for (const korrin::ValueList& oRow : a_oSources.m_oServers)
    {
        oServers.push_back(&oRow);
    }
    const korrin::ValueList oRelay = a_oSources.m_oRelay.empty() ? korrin::ValueList() : a_oSources.m_oRelay.front();
    return quorvad::composeNameservers(oRelay, oServers, textOf(a_oAccount, dbm::Interface));
}

} // namespace cfgctl
