#pragma once

#include "cfgctl/strictjson.h"
#include "korrin/valuelist.h"

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// How a provider identifies the user. The order counts: nameSignIn's names are in it.
enum class SignIn
{
    Basic, ///< user name and password in the request's header
    Url,   ///< whatever identifies the user is part of the URL
    Gnudip
};

/// "basic", "url" or "gnudip".
[[nodiscard]] const char* nameSignIn(SignIn a_eSignIn);

/// The same in JSON, which would be a number otherwise.
void to_json(Json& a_oJson, SignIn a_eSignIn);

/// What a provider's accounts need. Texts from a file, checked by parseProviders.
struct Provider
{
    std::string m_strKey;
    std::string m_strName;
    std::vector<std::string> m_oAliases; ///< what other clients call it, where that is not its server's name
    bool m_bSure = false;
    std::string m_strDoubt; ///< what the provider's own pages do not confirm, unless sure
    SignIn m_eSignIn = SignIn::Basic;
    std::string m_strUrl;          ///< template; GnuDIP: the server
    std::string m_strUrlDual;      ///< template with both address families; empty when there is none
    std::string m_strUserHint;     ///< what the provider takes as user name; empty when it takes none
    bool m_bUserIsHost = false;    ///< the user name is the host name unless given
    std::string m_strPasswordHint; ///< what the provider takes as password
    bool m_bEncode = true;         ///< the provider decodes percent-encoded values; else they must need no encoding
    std::string m_strExpect;
    std::string m_strUnchanged; ///< the answer to an unchanged address where the expected text does not cover it
    bool m_bBlocks = false;     ///< clients that repeat an unchanged address get blocked
    int m_iRetry = 5;
    std::string m_strRefusal; ///< what the provider wants instead of one GET request; the fields above are unused then
    std::string m_strNotes;
    std::string m_strDoc;
};

using Providers = std::vector<Provider>;

/// Placeholders of a template that are filled in when the account is made: the parts of the host.
constexpr char g_acLabel[] = "<label>";
constexpr char g_acZone[] = "<zone>";

/// The highest number of tries per change.
constexpr int g_iMostTries = 20;
constexpr const char* g_pOwnProviders = "/etc/quorvad/providers.json";

/// Null if there is none. The pointer is valid until the list changes.
[[nodiscard]] const Provider* findProvider(const Providers& a_oProviders, const std::string& a_strKey);

/// The provider that another client calls so: by key, alias or server, in any case. Null if there is none.
[[nodiscard]] const Provider* findAlias(const Providers& a_oProviders, const std::string& a_strName);

/// Whether a row of DynDns uses GnuDIP; the other valid ServiceType is an update URL.
[[nodiscard]] bool isGnudip(const korrin::ValueList& a_oAccount);

/// Throws Failure with what else can be done if the daemon cannot serve the provider.
void requireServed(const Provider& a_oProvider);

/// The provider of a row of DynDns: one whose template is the same up to the query, or for GnuDIP one with the same
/// server. Null if there is none.
[[nodiscard]] const Provider* recogniseProvider(const Providers& a_oProviders, const korrin::ValueList& a_oAccount);

/// The providers of {"providers": [{"key": ..., "url": ..., ...}, ...]}; docs/providers.md lists the fields. Everything
/// is checked: known names, right types, unique keys, https templates with known placeholders. Pure. Throws Failure
/// that names the entry, the field and what is wrong with it.
[[nodiscard]] Providers parseProviders(std::string_view a_strJson);

/// The reverse: every field of every provider. Pure.
[[nodiscard]] std::string providersToJson(const Providers& a_oProviders);

struct ProviderList
{
    Providers m_oProviders;
    std::vector<std::string> m_oComplaints; ///< files that could not be used, and why
};

/// The providers installed with the program, then those of g_pOwnProviders if that file exists, then those of a_strMore
/// unless it is empty. A later entry replaces one with the same key; an invalid file adds nothing but a complaint.
/// Reads files; never throws for their content.
[[nodiscard]] ProviderList loadProviders(const std::string& a_strMore);

} // namespace cfgctl
