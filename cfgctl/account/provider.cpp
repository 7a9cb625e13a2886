#include "cfgctl/account/provider.h"

#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/strictjson.h"
#include "cfgctl/text.h"
#include "config/schema.h"
#include "platform/common/values.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <strings.h>
#include <system_error>
#include <unistd.h>

namespace cfgctl
{

namespace
{

namespace dbm = quorvad::dbm;
using platform::textOf;

constexpr std::size_t s_uiFileLimit = 1024UL * 1024UL;
constexpr std::size_t s_uiTextLimit = 2000;
constexpr std::size_t s_uiShown = 40;  // of a name that a message repeats
constexpr std::size_t s_uiDeepest = 4; // the object, its list, an entry, its aliases
constexpr std::size_t s_uiMostValues = 100000;
constexpr std::array s_apSignIns{"basic", "url", "gnudip"}; // in the order of SignIn
static_assert(s_apSignIns.size() == static_cast<std::size_t>(SignIn::Gnudip) + 1);

template<typename Condition>
const Provider* findFirst(const Providers& a_oProviders, const Condition& a_oCondition)
{
    const auto it = std::find_if(a_oProviders.begin(), a_oProviders.end(), a_oCondition);
    return it == a_oProviders.end() ? nullptr : &*it;
}

void take(const Json& a_oValue, std::string& a_strText)
{
    require(a_oValue.is_string(), "must be a text");
    a_strText = a_oValue.get<std::string>();
    const std::string strFault = findTextFault(a_strText);
    require(strFault.empty(), strFault);
    require(a_strText.size() <= s_uiTextLimit, "is longer than " + std::to_string(s_uiTextLimit) + " bytes");
}

void take(const Json& a_oValue, bool& a_bFlag)
{
    require(a_oValue.is_boolean(), "must be true or false");
    a_bFlag = a_oValue.get<bool>();
}

void take(const Json& a_oValue, int& a_iTries)
{
    require(a_oValue.is_number_integer() && a_oValue >= 1 && a_oValue <= g_iMostTries,
            "must be a whole number from 1 to " + std::to_string(g_iMostTries));
    a_iTries = a_oValue.get<int>();
}

void take(const Json& a_oValue, SignIn& a_eSignIn)
{
    std::string strWord;
    take(a_oValue, strWord);
    const auto* pWord = std::find(s_apSignIns.begin(), s_apSignIns.end(), strWord);
    require(pWord != s_apSignIns.end(), "must be basic, url or gnudip");
    a_eSignIn = static_cast<SignIn>(pWord - s_apSignIns.begin());
}

void take(const Json& a_oValue, std::vector<std::string>& a_oTexts)
{
    require(a_oValue.is_array(), "must be a list of texts");
    for (const Json& oText : a_oValue)
    {
        take(oText, a_oTexts.emplace_back());
    }
}

void checkKey(const std::string& a_strKey)
{
    const bool bPlain = a_strKey.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_.") == std::string::npos;
    require(!a_strKey.empty() && a_strKey.size() <= 40 && bPlain,
            "'key' must be up to 40 of the characters a-z, 0-9, '-', '_' and '.'");
}

/// Visits the fields of an entry, in the order in which they are written.
template<typename Entry, typename Visit>
void forEachField(Entry& a_oProvider, const Visit& a_oVisit)
{
    a_oVisit("key", a_oProvider.m_strKey);
    a_oVisit("name", a_oProvider.m_strName);
    a_oVisit("aliases", a_oProvider.m_oAliases);
    a_oVisit("sure", a_oProvider.m_bSure);
    a_oVisit("doubt", a_oProvider.m_strDoubt);
    a_oVisit("auth", a_oProvider.m_eSignIn);
    a_oVisit("url", a_oProvider.m_strUrl);
    a_oVisit("urlDual", a_oProvider.m_strUrlDual);
    a_oVisit("user", a_oProvider.m_strUserHint);
    a_oVisit("userIsHost", a_oProvider.m_bUserIsHost);
    a_oVisit("password", a_oProvider.m_strPasswordHint);
    a_oVisit("encode", a_oProvider.m_bEncode);
    a_oVisit("expect", a_oProvider.m_strExpect);
    a_oVisit("unchanged", a_oProvider.m_strUnchanged);
    a_oVisit("blocks", a_oProvider.m_bBlocks);
    a_oVisit("retry", a_oProvider.m_iRetry);
    a_oVisit("refusal", a_oProvider.m_strRefusal);
    a_oVisit("notes", a_oProvider.m_strNotes);
    a_oVisit("doc", a_oProvider.m_strDoc);
}

void takeField(Provider& a_oProvider, const std::string& a_strField, const Json& a_oValue)
{
    bool bKnown = false;
    forEachField(a_oProvider,
                 [&](const char* a_pName, auto& a_oMember)
                 {
                     if (a_strField == a_pName)
                     {
                         bKnown = true;
                         within("'" + a_strField + "' ", [&] { take(a_oValue, a_oMember); });
                     }
                 });
    require(bKnown, "has an unknown field '" + cutToWidth(a_strField, s_uiShown) + "'");
    if (a_strField == "key")
    {
        checkKey(a_oProvider.m_strKey);
    }
}

void checkTemplate(const std::string& a_strField, const std::string& a_strUrl)
{
    std::vector<std::string> oAllowed = getPlaceholders();
    oAllowed.insert(oAllowed.end(), {g_acLabel, g_acZone});
    const std::string strFault = findUrlFault(a_strUrl, oAllowed);
    require(strFault.empty(), "'" + a_strField + "' cannot be used: " + strFault);
    require(a_strUrl.compare(0, 8, "https://") == 0,
            "'" + a_strField + "' cannot be used: it does not begin with https://");
}

void checkProvider(const Provider& a_oProvider)
{
    if (a_oProvider.m_eSignIn == SignIn::Gnudip)
    {
        const std::string strFault = findServerFault(a_oProvider.m_strUrl);
        require(strFault.empty(), "'url', the server of a gnudip provider, " + strFault);
        return;
    }
    checkTemplate("url", a_oProvider.m_strUrl);
    if (!a_oProvider.m_strUrlDual.empty())
    {
        checkTemplate("urlDual", a_oProvider.m_strUrlDual);
    }
}

Provider takeProvider(const Json& a_oEntry)
{
    require(a_oEntry.is_object(), "must be an object");
    const bool bRefused = a_oEntry.contains("refusal") && a_oEntry["refusal"] != Json("");
    for (const char* pField : {"key", "auth", "url"})
    {
        require(a_oEntry.contains(pField) || (bRefused && std::string(pField) != "key"),
                std::string("has no '") + pField + "'");
    }
    Provider oProvider;
    for (const auto& [strField, oValue] : a_oEntry.items())
    {
        takeField(oProvider, strField, oValue);
    }
    if (!bRefused)
    {
        checkProvider(oProvider);
    }
    oProvider.m_strName = oProvider.m_strName.empty() ? oProvider.m_strKey : oProvider.m_strName;
    return oProvider;
}

void addOrReplace(Providers& a_oProviders, const Provider& a_oProvider)
{
    const auto isSame = [&](const Provider& a_oOther) { return a_oOther.m_strKey == a_oProvider.m_strKey; };
    const auto it = std::find_if(a_oProviders.begin(), a_oProviders.end(), isSame);
    if (it == a_oProviders.end())
    {
        a_oProviders.push_back(a_oProvider);
        return;
    }
    *it = a_oProvider;
}

void addFile(ProviderList& a_oList, const std::string& a_strPath)
{
    try
    {
        const std::string strJson = readFile(a_strPath, s_uiFileLimit); // its own failure names the file
        for (const Provider& oProvider :
             within("Cannot use provider file '" + a_strPath + "': ", [&] { return parseProviders(strJson); }))
        {
            addOrReplace(a_oList.m_oProviders, oProvider);
        }
    }
    catch (const Failure& oError)
    {
        a_oList.m_oComplaints.emplace_back(oError.what());
    }
}

/// Relative to the program, in an installed tree as in a build folder; else the installation path.
std::string findShipped()
{
    std::error_code oError;
    const std::filesystem::path oProgram = std::filesystem::read_symlink("/proc/self/exe", oError);
    const std::filesystem::path oBeside = oProgram.parent_path() / CFGCTL_PROVIDERS_BESIDE;
    return !oError && access(oBeside.c_str(), R_OK) == 0 ? oBeside.lexically_normal().string() : CFGCTL_PROVIDERS;
}

} // namespace

const char* nameSignIn(SignIn a_eSignIn)
{
    return s_apSignIns.at(static_cast<std::size_t>(a_eSignIn));
}

void to_json(Json& a_oJson, SignIn a_eSignIn)
{
    a_oJson = nameSignIn(a_eSignIn);
}

const Provider* findProvider(const Providers& a_oProviders, const std::string& a_strKey)
{
    return findFirst(a_oProviders, [&](const Provider& a_oProvider) { return a_oProvider.m_strKey == a_strKey; });
}

const Provider* findAlias(const Providers& a_oProviders, const std::string& a_strName)
{
    const auto isName = [&](const std::string& a_strOther)
    { return !a_strName.empty() && strcasecmp(a_strOther.c_str(), a_strName.c_str()) == 0; };
    return findFirst(a_oProviders,
                     [&](const Provider& a_oProvider)
                     {
                         const auto& oAliases = a_oProvider.m_oAliases;
                         return isName(a_oProvider.m_strKey) || isName(urlHost(a_oProvider.m_strUrl)) ||
                                std::any_of(oAliases.begin(), oAliases.end(), isName);
                     });
}

bool isGnudip(const korrin::ValueList& a_oAccount)
{
    return textOf(a_oAccount, dbm::DynDns_ServiceType) == dbm::ServiceType_Gnudip;
}

void requireServed(const Provider& a_oProvider)
{
    require(a_oProvider.m_strRefusal.empty(),
            a_oProvider.m_strName + " cannot be served: it wants " + a_oProvider.m_strRefusal +
                ", and the daemon sends one GET request. Make the name a CNAME for one at a provider that "
                "'cfgctl providers' confirms, or run a gateway that passes the address on: 'cfgctl account add --url' "
                "takes its URL");
}

const Provider* recogniseProvider(const Providers& a_oProviders, const korrin::ValueList& a_oAccount)
{
    const std::string strServer = textOf(a_oAccount, dbm::DynDns_ServerAddr);
    if (isGnudip(a_oAccount))
    {
        return findFirst(a_oProviders,
                         [&](const Provider& a_oProvider)
                         { return a_oProvider.m_eSignIn == SignIn::Gnudip && a_oProvider.m_strUrl == strServer; });
    }
    const auto matches = [strBase = urlBase(strServer)](const std::string& a_strUrl)
    { return !a_strUrl.empty() && urlBase(a_strUrl) == strBase; };
    return findFirst(a_oProviders,
                     [&](const Provider& a_oProvider)
                     {
                         return a_oProvider.m_eSignIn != SignIn::Gnudip &&
                                (matches(a_oProvider.m_strUrl) || matches(a_oProvider.m_strUrlDual));
                     });
}

Providers parseProviders(std::string_view a_strJson)
{
    const Json oFile = parseStrictJson(a_strJson, {s_uiFileLimit, s_uiDeepest, s_uiMostValues});
    require(oFile.is_object() && oFile.size() == 1 && oFile.contains("providers") && oFile["providers"].is_array(),
            "it must be {\"providers\": [...]}");
    Providers oProviders;
    for (const Json& oEntry : oFile["providers"])
    {
        std::string strEntry = "entry " + std::to_string(oProviders.size() + 1) + " ";
        if (oEntry.is_object() && oEntry.contains("key") && oEntry["key"].is_string())
        {
            strEntry += "('" + cutToWidth(oEntry["key"].get<std::string>(), s_uiShown) + "') ";
        }
        Provider oProvider = within(strEntry, [&] { return takeProvider(oEntry); });
        require(findProvider(oProviders, oProvider.m_strKey) == nullptr,
                strEntry + "repeats the key of an earlier entry");
        oProviders.push_back(std::move(oProvider));
    }
    return oProviders;
}

std::string providersToJson(const Providers& a_oProviders)
{
    Json oEntries = Json::array();
    for (const Provider& oProvider : a_oProviders)
    {
        Json& oEntry = oEntries.emplace_back();
        forEachField(oProvider, [&](const char* a_pName, const auto& a_oMember) { oEntry[a_pName] = a_oMember; });
    }
    const Json oFile{{"providers", oEntries}};
    return oFile.dump(2) + "\n";
}

ProviderList loadProviders(const std::string& a_strMore)
{
    ProviderList oList;
    addFile(oList, findShipped());
    if (access(g_pOwnProviders, F_OK) == 0)
    {
        addFile(oList, g_pOwnProviders);
    }
    if (!a_strMore.empty())
    {
        addFile(oList, a_strMore);
    }
    return oList;
}

} // namespace cfgctl
