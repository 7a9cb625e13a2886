#pragma once

#include "cfgctl/account/accountplan.h"
#include "cfgctl/foreign/clientfile.h"

#include <string>

namespace cfgctl
{

/// What becomes of another client's account.
struct Takeover
{
    unsigned m_uiLine;
    AccountSpec m_oSpec;
    Provider m_oProvider;
    AccountPlan m_oPlan;     ///< its row complete, with the password
    std::string m_strReason; ///< why it cannot be added; empty: it can
};

/// By the rules of planAccount and preparePassword. Where a provider identifies the user by one key, or wants the zone,
/// it is taken from where that client keeps it. Pure.
/// @param a_strInterface for an account without one
[[nodiscard]] Takeover
planTakeover(const Providers& a_oProviders, const ForeignAccount& a_oAccount, const std::string& a_strInterface);

} // namespace cfgctl
