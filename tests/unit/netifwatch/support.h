#pragma once

#include "netifwatch/interface.h"

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <map>
#include <sstream>
#include <string>

/// An address from "2001:db8::1 deprecated link": flags and scope by name.
inline netifwatch::InterfaceAddress makeAddress(const std::string& a_strText)
{
    static const std::map<std::string, std::uint32_t> s_oFlags = {{"temporary", IFA_F_TEMPORARY},
                                                                  {"secondary", IFA_F_SECONDARY},
                                                                  {"deprecated", IFA_F_DEPRECATED},
                                                                  {"tentative", IFA_F_TENTATIVE},
                                                                  {"optimistic", IFA_F_OPTIMISTIC},
                                                                  {"failed", IFA_F_DADFAILED},
                                                                  {"permanent", IFA_F_PERMANENT},
                                                                  {"managed", IFA_F_MANAGETEMPADDR}};
    static const std::map<std::string, std::uint8_t> s_oScopes = {
        {"link", RT_SCOPE_LINK}, {"site", RT_SCOPE_SITE}, {"host", RT_SCOPE_HOST}};
    std::istringstream oStream(a_strText);
    std::string strWord;
    oStream >> strWord;
    netifwatch::InterfaceAddress oAddress;
    oAddress.m_oAddress = netifwatch::parseAddress(strWord).value();
    while (oStream >> strWord)
    {
        oAddress.m_uiFlags |= s_oFlags.count(strWord) > 0 ? s_oFlags.at(strWord) : 0;
        oAddress.m_uiScope = s_oScopes.count(strWord) > 0 ? s_oScopes.at(strWord) : oAddress.m_uiScope;
    }
    return oAddress;
}

inline netifwatch::Interface
makeInterface(int a_iIndex, const std::string& a_strName, bool a_bUp, const std::vector<std::string>& a_oAddresses = {})
{
    netifwatch::Interface oInterface{a_iIndex, a_strName, a_bUp, {}};
    for (const std::string& strAddress : a_oAddresses)
    {
        oInterface.m_oAddresses.push_back(makeAddress(strAddress));
    }
    return oInterface;
}
