#include "actions/curlaction.h"
#include "actions/gnudipaction.h"
#include "config/confighandler.h"
#include "config/rows.h"
#include "config/schema.h"
#include "platform/common/log.h"
#include "scheduler/timing.h"

namespace quorvad
{

namespace
{

constexpr char s_acLogFile[] = "confighandler";

std::string textColumn(const ConfigObject& a_oRow, const char* a_pColumn)
{
    return a_oRow.getValue(a_pColumn).getText();
}

} // namespace

void ConfigHandler::dispatch(int a_iId)
{
    if (m_oSchedulers.count(a_iId) != 0)
    {
        LOG_DEBUG("Remove old scheduler for config id '%d'.", a_iId);
        m_oSchedulers.erase(a_iId);
    }
    ConfigObject& oAccount = *m_oDynDnsCfgs.at(a_iId);
    const std::string strInterface = textOf(oAccount, dbm::Interface);
    const ConfigObject* pRow6 = findRow(m_oNetifIPv6, strInterface);
    const std::string strAddr6 = pRow6 != nullptr ? textColumn(*pRow6, dbm::Addr) : std::string();
    const std::string strType = textColumn(oAccount, dbm::DynDns_ServiceType);
    const bool bHttps = strType == dbm::ServiceType_UpdateUrl;
    if (!bHttps && strType != dbm::ServiceType_Gnudip)
    {
        return;
    }
    const ConfigObject* pWatch = findRow(m_oNetifWatch, strInterface);
    if (pWatch == nullptr)
    {
        // After DNS changes there are accounts of unknown interfaces; they are kept until the interface's row exists.
        logMissingInterface(strInterface);
        oAccount.m_bChanged = true;
        return;
    }
    send(bHttps, a_iId, *pWatch, strAddr6);
}

// The columns are read in a fixed order, so that the same missing one is always reported.
void ConfigHandler::send(bool a_bHttps, int a_iId, const ConfigObject& a_oWatch, const std::string& a_strAddr6)
{
    const ConfigObject& oAccount = *m_oDynDnsCfgs.at(a_iId);
    const std::string strHostname = textColumn(oAccount, dbm::DynDns_Hostname);
    const std::string strInterface = textOf(oAccount, dbm::Interface);
    const char* pKind = a_bHttps ? "" : "gnudip ";
    LOG_DEBUG("Send %supdate for '%s' on interface '%s'...", pKind, strHostname.c_str(), strInterface.c_str());
    try
    {
        std::shared_ptr<Action> pAction = a_bHttps ? makeHttpsAction(a_iId, oAccount, a_oWatch, a_strAddr6)
                                                   : makeGnudipAction(a_iId, oAccount, a_oWatch);
        LOG_INFO("%s update will be scheduled...", a_bHttps ? "HTTPS" : "GnuDIP");
        startScheduler(a_iId, oAccount, std::move(pAction));
    }
    catch (const Error& oError)
    {
        if (a_bHttps)
        {
            LOG_ERROR("Failed to send HTTPS update: '%s'", oError.what());
        }
        else
        {
            LOG_ERROR("Failed to send GnuDIP update (%s)", oError.what());
        }
    }
}

std::shared_ptr<Action> ConfigHandler::makeHttpsAction(int a_iId,
                                                       const ConfigObject& a_oAccount,
                                                       const ConfigObject& a_oWatch,
                                                       const std::string& a_strAddr6) const
{
    const std::string strServer = textColumn(a_oAccount, dbm::DynDns_ServerAddr);
    const std::string strAddr = textColumn(a_oWatch, dbm::Addr);
    const std::string strHostname = textColumn(a_oAccount, dbm::DynDns_Hostname);
    const std::string strUser = textColumn(a_oAccount, dbm::DynDns_AccountUserName);
    const std::string strPassword = textColumn(a_oAccount, dbm::DynDns_Password);
    const std::string strExpected = textColumn(a_oAccount, dbm::DynDns_ExpectedResultSubString);
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const std::string strServers = getNameservers(strInterface);
    auto pAction = std::make_shared<CurlAction>(strServer,
                                                strAddr,
                                                a_strAddr6,
                                                strHostname,
                                                strUser,
                                                strPassword,
                                                m_strSerialNo,
                                                strExpected,
                                                strInterface,
                                                strServers,
                                                a_iId);
    pAction->setUnchangedText(
        textOf(a_oAccount, dbm::DynDns_UnchangedResultSubString)); // a service may lack the column
    return pAction;
}

std::shared_ptr<Action>
ConfigHandler::makeGnudipAction(int a_iId, const ConfigObject& a_oAccount, const ConfigObject& a_oWatch) const
{
    const std::string strServer = textColumn(a_oAccount, dbm::DynDns_ServerAddr);
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    const std::string strAddr = textColumn(a_oWatch, dbm::Addr);
    const std::string strHostname = textColumn(a_oAccount, dbm::DynDns_Hostname);
    const std::string strUser = textColumn(a_oAccount, dbm::DynDns_AccountUserName);
    const std::string strPassword = textColumn(a_oAccount, dbm::DynDns_Password);
    const std::string strServers = getNameservers(strInterface);
    return std::make_shared<GnudipAction>(
        strServer, strInterface, strAddr, strHostname, strUser, strPassword, strServers, a_iId);
}

void ConfigHandler::startScheduler(int a_iId, const ConfigObject& a_oAccount, std::shared_ptr<Action> a_pAction)
{
    const int iRetries = a_oAccount.getValue(dbm::DynDns_Retry).getInteger();
    const int iStartPeriodSec = getRandomStartPeriodSec();
    auto pScheduler = std::make_unique<Scheduler>(iStartPeriodSec, iRetries, std::move(a_pAction));
    m_oSchedulers.insert_or_assign(a_iId, std::move(pScheduler));
}

int ConfigHandler::getRandomStartPeriodSec() const
{
    return g_iShortestStartSec - 1 + static_cast<int>(getRandomUint(g_iLongestStartSec - g_iShortestStartSec + 1));
}

void ConfigHandler::removeFinishedSchedulers()
{
    for (auto it = m_oSchedulers.begin(); it != m_oSchedulers.end();)
    {
        if (it->second->m_bFinished.load())
        {
            LOG_DEBUG("Scheduled Action id %d finished", it->first);
            it = m_oSchedulers.erase(it);
        }
        else
        {
            ++it;
        }
    }
}

} // namespace quorvad
