#pragma once

#include "cfgctl/account/provider.h"
#include "korrin/valuelist.h"

#include <optional>
#include <string>
#include <vector>

namespace cfgctl
{

/// What a person asks for.
struct AccountSpec
{
    std::string m_strHost;
    std::string m_strUser;
    std::string m_strInterface;
    std::string m_strZone;                     ///< for providers that want label and zone apart
    std::optional<std::string> m_strExpect;    ///< instead of the provider's
    std::optional<std::string> m_strUnchanged; ///< instead of the provider's
    std::optional<int> m_iRetry;               ///< instead of the provider's
    bool m_bDual = false;
    bool m_bEnable = true;
};

/// The row that comes of it, all but its password, and what the person should know.
struct AccountPlan
{
    korrin::ValueList m_oRow;
    std::string m_strPasswordHint; ///< what to ask for; empty: the row needs no password
    bool m_bPasswordInUrl = false;
    bool m_bPasswordInHeader = false; ///< of the request; GnuDIP: in the hash
    bool m_bEncode = true;            ///< the provider decodes percent-encoded values
    std::vector<std::string> m_oNotes;
};

/// A provider made of a template or of a GnuDIP server that no file lists. The user name goes into the URL if that has
/// a placeholder for it, else into the request's header. Throws Failure if the template cannot be used.
[[nodiscard]] Provider makeOwnProvider(const std::string& a_strTemplate, bool a_bUser);
[[nodiscard]] Provider makeGnudipProvider(const std::string& a_strServer);

/// Texts that say why something is refused.
inline constexpr char g_acColonInUser[] =
    "The user name must not contain ':': with Basic authentication, what follows it is taken as the password";
inline constexpr char g_acTextsOfGnudip[] = "GnuDIP answers with a code: omit --expect and --unchanged";

/// Throws Failure if an answer cannot be judged by these two texts, or if the second has no effect.
void checkTexts(const std::string& a_strExpect, const std::string& a_strUnchanged);

/// The daemon puts values into the URL as they are. So what would break it is percent-encoded here, with a note, or
/// refused where the provider decodes nothing. User name, label and zone are written into the template; the column
/// AccountUserName stays empty unless the provider wants Basic authentication, which the daemon sends whenever it is
/// not. The password stays in its column, which is hidden everywhere. Pure. Throws Failure that says which value cannot
/// be used, why, and what would do.
[[nodiscard]] AccountPlan planAccount(const Provider& a_oProvider, const AccountSpec& a_oSpec);

/// The password as it belongs into the row; the plan's notes get a line where it was changed. Throws Failure, whose
/// text holds nothing of it.
[[nodiscard]] std::string preparePassword(AccountPlan& a_oPlan, const std::string& a_strPassword);

/// Leaves out the text of an unchanged address, with a note, where the service's table has no column for it: one that
/// is not ours may lack it. Pure.
/// @param a_oColumns those of table DynDns
void fitToColumns(const korrin::ValueList& a_oColumns, AccountPlan& a_oPlan);

/// How the password of a row that exists is used; hint and notes stay empty. Pure.
[[nodiscard]] AccountPlan planOfRow(const korrin::ValueList& a_oRow, const Provider* a_pProvider);

} // namespace cfgctl
