#include "cfgctl/account/providerfile.h"

#include "cfgctl/account/names.h"
#include "cfgctl/account/urltemplate.h"
#include "cfgctl/errors.h"
#include "cfgctl/inputoutput.h"
#include "cfgctl/utf8.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <system_error>
#include <unistd.h>

namespace cfgctl
{

namespace
{

using Json = nlohmann::json;

constexpr std::size_t s_uiFileLimit = 1024UL * 1024UL;
constexpr std::size_t s_uiTextLimit = 2000;
constexpr std::size_t s_uiShown = 40; // of a name that a message repeats
constexpr int s_iDeepest = 3;         // the object, its list, an entry
constexpr int s_iMostTries = 20;

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
        fail(strFault.empty() ? "is longer than 2000 bytes" : strFault);
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
    if (!a_oValue.is_number_integer() || a_oValue < 1 || a_oValue > s_iMostTries)
    {
        fail("must be a whole number from 1 to 20");
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

using Field = std::function<void(Provider&, const Json&)>;

template<typename Member, typename Take>
Field into(Member Provider::*a_pMember, Take a_pTake)
{
    return [a_pMember, a_pTake](Provider& a_oProvider, const Json& a_oValue)
    { a_oProvider.*a_pMember = a_pTake(a_oValue); };
}

const std::map<std::string, Field>& getFields()
{
    static const std::map<std::string, Field> s_oFields{
        {"key", into(&Provider::m_strKey, takeKey)},
        {"name", into(&Provider::m_strName, takeText)},
        {"sure", into(&Provider::m_bSure, takeFlag)},
        {"doubt", into(&Provider::m_strDoubt, takeText)},
        {"auth", into(&Provider::m_eSignIn, takeSignIn)},
        {"url", into(&Provider::m_strUrl, takeText)},
        {"urlDual", into(&Provider::m_strUrlDual, takeText)},
        {"user", into(&Provider::m_strUserHint, takeText)},
        {"userIsHost", into(&Provider::m_bUserIsHost, takeFlag)},
        {"password", into(&Provider::m_strPasswordHint, takeText)},
        {"encode", into(&Provider::m_bEncode, takeFlag)},
        {"expect", into(&Provider::m_strExpect, takeText)},
        {"unchanged", into(&Provider::m_strUnchanged, takeText)},
        {"retry", into(&Provider::m_iRetry, takeTries)},
        {"notes", into(&Provider::m_strNotes, takeText)},
        {"doc", into(&Provider::m_strDoc, takeText)},
    };
    return s_oFields;
}

void checkTemplate(const char* a_pField, const std::string& a_strUrl)
{
    std::vector<std::string> oAllowed = getPlaceholders();
    oAllowed.insert(oAllowed.end(), {"<label>", "<zone>"});
    std::string strFault = findUrlFault(a_strUrl, oAllowed);
    if (strFault.empty() && a_strUrl.compare(0, 8, "https://") != 0)
    {
        strFault = "it doesn't begin with https://";
    }
    if (!strFault.empty())
    {
        fail(std::string("'") + a_pField + "' can't be used: " + strFault);
    }
}

void checkProvider(const Provider& a_oProvider)
{
    if (a_oProvider.m_eSignIn == SignIn::Gnudip)
    {
        const std::string strFault = findServerFault(a_oProvider.m_strUrl);
        if (!strFault.empty())
        {
            fail("'url' of a gnudip provider is its server's name and " + strFault);
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
        const auto it = getFields().find(strField);
        if (it == getFields().end())
        {
            fail("has an unknown field '" + cutToWidth(strField, s_uiShown) + "'");
        }
        try
        {
            it->second(oProvider, oValue);
        }
        catch (const Failure& oError)
        {
            fail("'" + strField + "' " + oError.what());
        }
    }
    checkProvider(oProvider);
    oProvider.m_strName = oProvider.m_strName.empty() ? oProvider.m_strKey : oProvider.m_strName;
    return oProvider;
}

/// Deep nesting and a field that is given twice, of which the parser would keep the last, end it.
Json parseJson(std::string_view a_strJson)
{
    std::vector<std::vector<std::string>> oOpen;
    const auto watch = [&oOpen](int a_iDepth, Json::parse_event_t a_eEvent, Json& a_oParsed)
    {
        if (a_iDepth > s_iDeepest)
        {
            fail("it is nested deeper than a list of providers");
        }
        oOpen.resize(static_cast<std::size_t>(a_iDepth) + 1);
        if (a_eEvent == Json::parse_event_t::object_start || a_eEvent == Json::parse_event_t::array_start)
        {
            oOpen.emplace_back();
        }
        else if (a_eEvent == Json::parse_event_t::key)
        {
            std::vector<std::string>& oKeys = oOpen.back();
            const auto strKey = a_oParsed.get<std::string>();
            if (std::find(oKeys.begin(), oKeys.end(), strKey) != oKeys.end())
            {
                fail("the field '" + cutToWidth(strKey, s_uiShown) + "' is given twice");
            }
            oKeys.push_back(strKey);
        }
        return true;
    };
    try
    {
        return Json::parse(a_strJson, watch);
    }
    catch (const Json::parse_error& oError)
    {
        fail("it is no JSON at byte " + std::to_string(oError.byte));
    }
    catch (const Json::exception&)
    {
        fail("it is no JSON that can be kept: a number is out of range");
    }
}

void addOrReplace(Providers& a_oProviders, const Providers& a_oMore)
{
    for (const Provider& oProvider : a_oMore)
    {
        const auto it = std::find_if(a_oProviders.begin(),
                                     a_oProviders.end(),
                                     [&](const Provider& a_oOther) { return a_oOther.m_strKey == oProvider.m_strKey; });
        it == a_oProviders.end() ? a_oProviders.push_back(oProvider) : void(*it = oProvider);
    }
}

Providers takeFile(const std::string& a_strPath, const std::string& a_strJson)
{
    try
    {
        return parseProviders(a_strJson);
    }
    catch (const Failure& oError)
    {
        fail("The provider file '" + a_strPath + "' can't be used: " + oError.what());
    }
}

void addFile(ProviderList& a_oList, const std::string& a_strPath)
{
    try
    {
        const std::string strJson = readFile(a_strPath, s_uiFileLimit); // whose reason names the file
        addOrReplace(a_oList.m_oProviders, takeFile(a_strPath, strJson));
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

Providers parseProviders(std::string_view a_strJson)
{
    const Json oFile = parseJson(a_strJson);
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
                fail("has the key of an entry before it");
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
    auto oEntries = nlohmann::ordered_json::array();
    for (const Provider& oProvider : a_oProviders)
    {
        oEntries.push_back({{"key", oProvider.m_strKey},
                            {"name", oProvider.m_strName},
                            {"sure", oProvider.m_bSure},
                            {"doubt", oProvider.m_strDoubt},
                            {"auth", nameSignIn(oProvider.m_eSignIn)},
                            {"url", oProvider.m_strUrl},
                            {"urlDual", oProvider.m_strUrlDual},
                            {"user", oProvider.m_strUserHint},
                            {"userIsHost", oProvider.m_bUserIsHost},
                            {"password", oProvider.m_strPasswordHint},
                            {"encode", oProvider.m_bEncode},
                            {"expect", oProvider.m_strExpect},
                            {"unchanged", oProvider.m_strUnchanged},
                            {"retry", oProvider.m_iRetry},
                            {"notes", oProvider.m_strNotes},
                            {"doc", oProvider.m_strDoc}});
    }
    nlohmann::ordered_json oFile;
    oFile["providers"] = oEntries;
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
