#include "config/confighandler.h"
#include "config/nameservers.h"
#include "config/rows.h"
#include "config/schema.h"
#include "platform/common/log.h"

namespace quorvad
{

constexpr char s_acLogFile[] = "confighandler";

void ConfigHandler::process()
{
    LOG_DEBUG("process");
    LOG_DEBUG("Scheduled tasks: %zd", static_cast<ssize_t>(m_oSchedulers.size()));
    if (m_oDynDnsCfgs.empty())
    {
        LOG_DEBUG("No config data cached.");
        return;
    }
    AccountIds oPending;
    markAccountChanges(oPending);
    markIpv4Changes(oPending);
    markIpv6Changes(oPending);
    markDnsRelayChange(usesUserServers(m_oDnsRelay.m_oLastSnapshot), oPending);
    markDnsServerChanges(usesUserServersOnly(m_oDnsRelay.m_oLastSnapshot), oPending);
    announceStops(oPending);
    for (const int iId : oPending)
    {
        dispatch(iId);
    }
    removeFinishedSchedulers();
}

/// Each removal waits for an attempt in progress; the others must not begin new ones during that wait.
void ConfigHandler::announceStops(const AccountIds& a_oIds) const
{
    for (const int iId : a_oIds)
    {
        const auto oFound = m_oSchedulers.find(iId);
        if (oFound != m_oSchedulers.end())
        {
            oFound->second->announceStop();
        }
    }
}

void ConfigHandler::markAccountChanges(AccountIds& a_oPending)
{
    for (const auto& [iId, pAccount] : m_oDynDnsCfgs)
    {
        if (!isChanged(pAccount))
        {
            continue;
        }
        if (!isEnabled(*pAccount))
        {
            if (m_oSchedulers.count(iId) != 0)
            {
                LOG_DEBUG("Remove stale action for config id %d.", iId);
                m_oSchedulers.erase(iId);
            }
            pAccount->m_bChanged = false;
        }
        else if (accountNeedsAction(iId, *pAccount))
        {
            a_oPending.insert(iId);
            pAccount->m_bChanged = false;
        }
    }
}

// An account whose interface is not known yet stays marked and is checked again in every pass.
bool ConfigHandler::accountNeedsAction(int a_iId, const ConfigObject& a_oAccount) const
{
    LOG_DEBUG("User config changed.");
    const std::string strInterface = textOf(a_oAccount, dbm::Interface);
    if (findRow(m_oNetifWatch, strInterface) == nullptr)
    {
        logMissingInterface(strInterface);
        return false;
    }
    if (findRow(m_oNetifIPv6, strInterface) == nullptr)
    {
        LOG_DEBUG("Interface %s not found in watch6 table.", strInterface.c_str());
    }
    LOG_DEBUG("DynDns cfg id %d needs action (DynDns changed)", a_iId);
    return true;
}

void ConfigHandler::markIpv4Changes(AccountIds& a_oPending)
{
    for (const auto& [strInterface, pRow] : m_oNetifWatch)
    {
        if (!isChanged(pRow))
        {
            continue;
        }
        if (!isUp(*pRow))
        {
            removeSchedulersOn(strInterface);
        }
        else
        {
            markIpv4Accounts(strInterface, a_oPending);
        }
        pRow->m_bChanged = false;
    }
}

void ConfigHandler::removeSchedulersOn(const std::string& a_strInterface)
{
    LOG_DEBUG("Interface '%s' is down, remove possibly stale actions.", a_strInterface.c_str());
    AccountIds oIds;
    for (const auto& [iId, pAccount] : m_oDynDnsCfgs)
    {
        if (isOn(pAccount, a_strInterface))
        {
            oIds.insert(iId);
        }
    }
    announceStops(oIds);
    for (const auto& [iId, pAccount] : m_oDynDnsCfgs)
    {
        if (isOn(pAccount, a_strInterface) && m_oSchedulers.count(iId) != 0)
        {
            LOG_DEBUG("Remove scheduled action for config id %d because iface is down.", iId);
            m_oSchedulers.erase(iId);
        }
    }
}

void ConfigHandler::markIpv4Accounts(const std::string& a_strInterface, AccountIds& a_oPending) const
{
    LOG_DEBUG("IPv4 config of iface '%s' changed.", a_strInterface.c_str());
    for (const int iId : enabledAccountsOn(a_strInterface))
    {
        LOG_DEBUG("DynDns cfg id %d needs action (iface '%s' Ipv4 settings changed", iId, a_strInterface.c_str());
        a_oPending.insert(iId);
    }
}

void ConfigHandler::markIpv6Changes(AccountIds& a_oPending)
{
    for (const auto& [strInterface, pRow] : m_oNetifIPv6)
    {
        const ConfigObject* pWatch = findRow(m_oNetifWatch, strInterface);
        if (pWatch == nullptr)
        {
            LOG_DEBUG("No IPv4 info about '%s' yet.", strInterface.c_str());
            continue;
        }
        if (!isChanged(pRow))
        {
            continue;
        }
        LOG_DEBUG("Check IPv6 config changes of iface '%s'...", strInterface.c_str());
        if (isUp(*pWatch))
        {
            markIpv6Accounts(strInterface, a_oPending);
        }
        pRow->m_bChanged = false;
    }
}

void ConfigHandler::markIpv6Accounts(const std::string& a_strInterface, AccountIds& a_oPending) const
{
    LOG_DEBUG("IPv6 config of interface '%s' changed.", a_strInterface.c_str());
    for (const int iId : enabledAccountsOn(a_strInterface))
    {
        a_oPending.insert(iId);
        LOG_DEBUG("DynDns cfg id %d needs action (iface '%s' Ipv6 addr changed)", iId, a_strInterface.c_str());
    }
}

void ConfigHandler::markDnsRelayChange(bool a_bForced, AccountIds& a_oPending)
{
    if (!m_oDnsRelay.m_bChanged)
    {
        return;
    }
    LOG_DEBUG("DNS relay config changed.");
    if (a_bForced)
    {
        LOG_DEBUG("Force user-defined DNS nameservers...");
        for (const auto& [iId, pAccount] : m_oDynDnsCfgs)
        {
            if (pAccount && isEnabled(*pAccount))
            {
                LOG_DEBUG("DynDns cfg id %d needs action (user-defined nameservers changed)", iId);
                a_oPending.insert(iId);
            }
        }
    }
    m_oDnsRelay.m_bChanged = false;
}

// While only the user's servers are in force, changes of the others are consumed without effect.
void ConfigHandler::markDnsServerChanges(bool a_bUserServersOnly, AccountIds& a_oPending)
{
    for (ConfigObject& oServer : m_oNameservers)
    {
        if (!oServer.m_bChanged)
        {
            continue;
        }
        oServer.m_bChanged = false;
        if (a_bUserServersOnly || unsignedOf(oServer.m_oLastSnapshot, dbm::Enable) == 0)
        {
            continue;
        }
        for (const int iId : enabledAccountsOn(textOf(oServer, dbm::Interface)))
        {
            LOG_DEBUG("DynDns cfg id %d needs action (DNS server changed)", iId);
            a_oPending.insert(iId);
        }
    }
}

std::vector<int> ConfigHandler::enabledAccountsOn(const std::string& a_strInterface) const
{
    std::vector<int> oIds;
    for (const auto& [iId, pAccount] : m_oDynDnsCfgs)
    {
        if (isOn(pAccount, a_strInterface) && isEnabled(*pAccount))
        {
            oIds.push_back(iId);
        }
    }
    return oIds;
}

void ConfigHandler::logMissingInterface(const std::string& a_strInterface) const
{
    LOG_ERROR("Interface %s not found in watch table.", a_strInterface.c_str());
}

} // namespace quorvad
