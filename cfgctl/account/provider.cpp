#include "cfgctl/account/provider.h"

#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/strictjson.h"
#include "cfgctl/utf8.h"
#include "config/schema.h"
#include "platform/common/values.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
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
constexpr std::size_t s_uiDeepest = 3; // the object, its list, an entry
constexpr std::size_t s_uiMostValues = 100000;

template<typename Condition>
const Provider* findFirst(const Providers& a_oProviders, const Condition& a_oCondition)
{
    const auto it = std::find_if(a_oProviders.begin(), a_oProviders.end(), a_oCondition);
    return it == a_oProviders.end() ? nullptr : &*it;
}

[[noreturn]] void fail(const std::string& a_strText)
{
    throw Failure(a_strText);
}

std::string takeText(const Json& a_oValue)
{
    if (!a_oValue.is_string())
    {
        fail("must be a text");
    }
    auto strText = a_oValue.get<std::string>();
    const std::string strFault = findTextFault(strText);
    if (!strFault.empty() || strText.size() > s_uiTextLimit)
    {
        fail(strFault.empty() ? "is longer than " + std::to_string(s_uiTextLimit) + " bytes" : strFault);
    }
    return strText;
}

bool takeFlag(const Json& a_oValue)
{
    if (!a_oValue.is_boolean())
    {
        fail("must be true or false");
    }
    return a_oValue.get<bool>();
}

int takeTries(const Json& a_oValue)
{
    if (!a_oValue.is_number_integer() || a_oValue < 1 || a_oValue > g_iMostTries)
    {
        fail("must be a whole number from 1 to " + std::to_string(g_iMostTries));
    }
    return a_oValue.get<int>();
}

SignIn takeSignIn(const Json& a_oValue)
{
    const std::string strWord = takeText(a_oValue);
    for (const SignIn eSignIn : {SignIn::Basic, SignIn::Url, SignIn::Gnudip})
    {
        if (strWord == nameSignIn(eSignIn))
        {
            return eSignIn;
        }
    }
    fail("must be basic, url or gnudip");
}

std::string takeKey(const Json& a_oValue)
{
    std::string strKey = takeText(a_oValue);
    const bool bPlain = strKey.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_.") == std::string::npos;
    if (strKey.empty() || strKey.size() > 40 || !bPlain)
    {
        fail("must be up to 40 of the characters a-z, 0-9, '-', '_' and '.'");
    }
    return strKey;
}

/// A field of an entry, and how it comes out of the file and goes into one.
struct Field
{
    const char* m_pName;
    std::function<void(Provider&, const Json&)> m_oRead;
    std::function<Json(const Provider&)> m_oWrite;
};

template<typename Value>
Json toJson(const Value& a_oValue)
{
    return a_oValue;
}

Json toJson(const SignIn& a_eSignIn)
{
    return nameSignIn(a_eSignIn);
}

template<typename Member, typename Take>
Field field(const char* a_pName, Member Provider::*a_pMember, Take a_pTake)
{
    return {a_pName,
            [a_pMember, a_pTake](Provider& a_oProvider, const Json& a_oValue)
            { a_oProvider.*a_pMember = a_pTake(a_oValue); },
            [a_pMember](const Provider& a_oProvider) { return toJson(a_oProvider.*a_pMember); }};
}

/// In the order in which they are written.
const std::vector<Field>& getFields()
{
    static const std::vector<Field> s_oFields{
        field("key", &Provider::m_strKey, takeKey),
        field("name", &Provider::m_strName, takeText),
        field("sure", &Provider::m_bSure, takeFlag),
        field("doubt", &Provider::m_strDoubt, takeText),
        field("auth", &Provider::m_eSignIn, takeSignIn),
        field("url", &Provider::m_strUrl, takeText),
        field("urlDual", &Provider::m_strUrlDual, takeText),
        field("user", &Provider::m_strUserHint, takeText),
        field("userIsHost", &Provider::m_bUserIsHost, takeFlag),
        field("password", &Provider::m_strPasswordHint, takeText),
        field("encode", &Provider::m_bEncode, takeFlag),
        field("expect", &Provider::m_strExpect, takeText),
        field("unchanged", &Provider::m_strUnchanged, takeText),
        field("retry", &Provider::m_iRetry, takeTries),
        field("notes", &Provider::m_strNotes, takeText),
        field("doc", &Provider::m_strDoc, takeText),
    };
    return s_oFields;
}

void takeField(Provider& a_oProvider, const std::string& a_strField, const Json& a_oValue)
{
    const auto it = std::find_if(
        getFields().begin(), getFields().end(), [&](const Field& a_oField) { return a_strField == a_oField.m_pName; });
    if (it == getFields().end())
    {
        fail("has an unknown field '" + cutToWidth(a_strField, s_uiShown) + "'");
    }
    try
    {
        it->m_oRead(a_oProvider, a_oValue);
    }
    catch (const Failure& oError)
    {
        fail("'" + a_strField + "' " + oError.what());
    }
}

void checkTemplate(const char* a_pField, const std::string& a_strUrl)
{
    std::vector<std::string> oAllowed = getPlaceholders();
    oAllowed.insert(oAllowed.end(), {g_acLabel, g_acZone});
    std::string strFault = findUrlFault(a_strUrl, oAllowed);
    if (strFault.empty() && a_strUrl.compare(0, 8, "https://") != 0)
    {
        strFault = "it does not begin with https://";
    }
    if (!strFault.empty())
    {
        fail(std::string("'") + a_pField + "' cannot be used: " + strFault);
    }
}

void checkProvider(const Provider& a_oProvider)
{
    if (a_oProvider.m_eSignIn == SignIn::Gnudip)
    {
        const std::string strFault = findServerFault(a_oProvider.m_strUrl);
        if (!strFault.empty())
        {
            fail("'url', the server of a gnudip provider, " + strFault);
        }
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
    if (!a_oEntry.is_object())
    {
        fail("must be an object");
    }
    for (const char* pField : {"key", "auth", "url"})
    {
        if (!a_oEntry.contains(pField))
        {
            fail(std::string("has no '") + pField + "'");
        }
    }
    Provider oProvider;
    for (const auto& [strField, oValue] : a_oEntry.items())
    {
        takeField(oProvider, strField, oValue);
    }
    checkProvider(oProvider);
    oProvider.m_strName = oProvider.m_strName.empty() ? oProvider.m_strKey : oProvider.m_strName;
    return oProvider;
}

void addOrReplace(Providers& a_oProviders, const Providers& a_oMore)
{
    for (const Provider& oProvider : a_oMore)
    {
        const auto it = std::find_if(a_oProviders.begin(),
                                     a_oProviders.end(),
                                     [&](const Provider& a_oOther) { return a_oOther.m_strKey == oProvider.m_strKey; });
        if (it == a_oProviders.end())
        {
            a_oProviders.push_back(oProvider);
        }
        else
        {
            *it = oProvider;
        }
    }
}

Providers readProviderFile(const std::string& a_strPath)
{
    const std::string strJson = readFile(a_strPath, s_uiFileLimit); // whose reason names the file
    try
    {
        return parseProviders(strJson);
    }
    catch (const Failure& oError)
    {
        fail("Cannot use provider file '" + a_strPath + "': " + oError.what());
    }
}

void addFile(ProviderList& a_oList, const std::string& a_strPath)
{
    try
    {
        addOrReplace(a_oList.m_oProviders, readProviderFile(a_strPath));
    }
    catch (const Failure& oError)
    {
        a_oList.m_oComplaints.emplace_back(oError.what());
    }
}

/// Beside the program, wherever its tree was put or built; else where it was to be installed.
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
    switch (a_eSignIn)
    {
    case SignIn::Basic:
        return "basic";
    case SignIn::Url:
        return "url";
    case SignIn::Gnudip:
        break;
    }
    return "gnudip";
}

const Provider* findProvider(const Providers& a_oProviders, const std::string& a_strKey)
{
    return findFirst(a_oProviders, [&](const Provider& a_oProvider) { return a_oProvider.m_strKey == a_strKey; });
}

bool isGnudip(const korrin::ValueList& a_oAccount)
{
    return textOf(a_oAccount, dbm::DynDns_ServiceType) == dbm::ServiceType_Gnudip;
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
    const std::string strBase = urlBase(strServer);
    const auto matches = [&](const std::string& a_strUrl) { return !a_strUrl.empty() && urlBase(a_strUrl) == strBase; };
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
    if (!oFile.is_object() || oFile.size() != 1 || !oFile.contains("providers") || !oFile["providers"].is_array())
    {
        fail("it must be {\"providers\": [...]}");
    }
    Providers oProviders;
    for (const Json& oEntry : oFile["providers"])
    {
        const bool bNamed = oEntry.is_object() && oEntry.contains("key") && oEntry["key"].is_string();
        const std::string strEntry =
            "entry " + std::to_string(oProviders.size() + 1) +
            (bNamed ? " ('" + cutToWidth(oEntry["key"].get<std::string>(), s_uiShown) + "')" : std::string());
        try
        {
            Provider oProvider = takeProvider(oEntry);
            if (findProvider(oProviders, oProvider.m_strKey) != nullptr)
            {
                fail("repeats the key of an earlier entry");
            }
            oProviders.push_back(std::move(oProvider));
        }
        catch (const Failure& oError)
        {
            fail(strEntry + " " + oError.what());
        }
    }
    return oProviders;
}

std::string providersToJson(const Providers& a_oProviders)
{
    Json oEntries = Json::array();
    for (const Provider& oProvider : a_oProviders)
    {
        Json& oEntry = oEntries.emplace_back();
        for (const Field& oField : getFields())
        {
            oEntry[oField.m_pName] = oField.m_oWrite(oProvider);
        }
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
