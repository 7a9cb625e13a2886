#include "cfgctl/foreign/scanner.h"

#include "cfgctl/errors.h"

#include <algorithm>
#include <array>
#include <strings.h>

namespace cfgctl
{

namespace
{

constexpr std::size_t s_uiLongestName = 64;
constexpr std::size_t s_uiMostNames = 200;

} // namespace

bool Scanner::isNext(std::string_view a_strSet) const
{
    return !atEnd() && a_strSet.find(m_strRest.front()) != std::string_view::npos;
}

bool Scanner::takeIf(std::string_view a_strText)
{
    const bool bThere = isAhead(a_strText);
    static_cast<void>(take(bThere ? a_strText.size() : 0));
    return bThere;
}

std::string Scanner::takeQuoted(bool a_bEscapes)
{
    const std::string strQuote = takeOne();
    const bool bEscapes = a_bEscapes && strQuote == "\"";
    const std::string strEnds = strQuote + (bEscapes ? "\\\n" : "\n");
    std::string strText = takeUntil(strEnds);
    while (isNext("\\") && bEscapes)
    {
        static_cast<void>(takeOne());
        strText += take(isNext("\n") ? 0 : 1);
        strText += takeUntil(strEnds); // operands of '+' have no order
    }
    if (!takeIf(strQuote))
    {
        fail("a quote is not closed");
    }
    return strText;
}

std::string Scanner::takeWord(std::string_view a_strEnds, bool a_bEscapes)
{
    const std::string strStops = std::string(a_strEnds) + "'\"";
    std::string strWord = takeUntil(strStops);
    while (isNext("'\""))
    {
        strWord += takeQuoted(a_bEscapes);
        strWord += takeUntil(strStops);
    }
    return strWord;
}

void Scanner::fail(const std::string& a_strFault) const
{
    throw Failure("line " + std::to_string(m_uiLine) + ": " + a_strFault);
}

std::string Scanner::take(std::size_t a_uiCount)
{
    const std::string_view strTaken = m_strRest.substr(0, a_uiCount);
    m_uiLine += static_cast<unsigned>(std::count(strTaken.begin(), strTaken.end(), '\n'));
    m_strRest.remove_prefix(strTaken.size());
    return std::string(strTaken);
}

void Settings::set(const Scanner& a_oScanner, const std::string& a_strName, const std::string& a_strValue)
{
    if (a_strName.empty() || a_strName.size() > s_uiLongestName || m_oValues.size() > s_uiMostNames)
    {
        a_oScanner.fail("no name, a name that is too long, or too many of them");
    }
    if (a_strValue.size() > g_uiForeignText)
    {
        a_oScanner.fail("a value longer than " + std::to_string(g_uiForeignText) + " bytes");
    }
    m_oValues[a_strName] = a_strValue;
}

void Settings::add(const Scanner& a_oScanner, const Settings& a_oOther)
{
    for (const auto& [strName, strValue] : a_oOther.m_oValues)
    {
        set(a_oScanner, strName, strValue);
    }
}

std::string Settings::get(const std::string& a_strName) const
{
    const auto it = m_oValues.find(a_strName);
    return it == m_oValues.end() ? std::string() : it->second;
}

bool Settings::isOn(const std::string& a_strName, bool a_bDefault) const
{
    constexpr std::array apYes{"1", "yes", "true", "on", "enabled"};
    const std::string strValue = get(a_strName);
    const auto isSame = [&](const char* a_pYes) { return strcasecmp(strValue.c_str(), a_pYes) == 0; };
    return has(a_strName) ? std::any_of(apYes.begin(), apYes.end(), isSame) : a_bDefault;
}

void addAccount(ClientFile& a_oFile, const Scanner& a_oScanner, ForeignAccount a_oAccount)
{
    if (a_oFile.m_oAccounts.size() >= g_uiForeignAccounts)
    {
        a_oScanner.fail("more than " + std::to_string(g_uiForeignAccounts) + " accounts");
    }
    a_oFile.m_oAccounts.push_back(std::move(a_oAccount));
}

} // namespace cfgctl
