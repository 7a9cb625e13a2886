#pragma once

#include "cfgctl/foreign/clientfile.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// Blanks within a line.
constexpr std::string_view g_strBlanks = " \t\r";

/// Walks through a text and knows the line. Borrows the text.
class Scanner
{
public:
    explicit Scanner(std::string_view a_strText) : m_strRest(a_strText) {}

    [[nodiscard]] bool atEnd() const { return m_strRest.empty(); }
    [[nodiscard]] unsigned getLine() const { return m_uiLine; }
    /// Whether the next character is one of these; false at the end.
    [[nodiscard]] bool isNext(std::string_view a_strSet) const;

    [[nodiscard]] bool isAhead(std::string_view a_strText) const
    {
        return m_strRest.substr(0, a_strText.size()) == a_strText;
    }
    /// Takes the next character; none at the end.
    std::string takeOne() { return take(1); }
    /// Takes the text if it is what comes next.
    bool takeIf(std::string_view a_strText);
    /// Skips what consists of these characters.
    void skip(std::string_view a_strSet) { static_cast<void>(take(m_strRest.find_first_not_of(a_strSet))); }
    /// Takes what stands before the first of these characters, or before the end.
    std::string takeUntil(std::string_view a_strSet) { return take(m_strRest.find_first_of(a_strSet)); }
    /// Takes a text in quotes, whichever comes next; with a_bEscapes a backslash protects the next character in double
    /// quotes. Throws Failure if it has no end in its line.
    std::string takeQuoted(bool a_bEscapes);
    /// Takes a word that ends before one of these characters and may be quoted in parts.
    std::string takeWord(std::string_view a_strEnds, bool a_bEscapes);

    [[noreturn]] void fail(const std::string& a_strFault) const;

private:
    std::string take(std::size_t a_uiCount);

    std::string_view m_strRest;
    unsigned m_uiLine = 1;
};

/// Named values of a section, the last one of a name counts.
class Settings
{
public:
    /// Throws Failure for a value that is too long, for a missing name and for too many names.
    void set(const Scanner& a_oScanner, const std::string& a_strName, const std::string& a_strValue);
    /// Takes over another section's values; throws as set does.
    void add(const Scanner& a_oScanner, const Settings& a_oOther);
    /// Empty if there is none.
    [[nodiscard]] std::string get(const std::string& a_strName) const;
    [[nodiscard]] bool has(const std::string& a_strName) const { return m_oValues.count(a_strName) != 0; }
    /// Whether it is "1", "yes", "true", "on" or "enabled", in any case.
    [[nodiscard]] bool isOn(const std::string& a_strName, bool a_bDefault) const;

private:
    std::map<std::string, std::string> m_oValues;
};

/// Throws Failure for one account too many.
void addAccount(ClientFile& a_oFile, const Scanner& a_oScanner, ForeignAccount a_oAccount);

} // namespace cfgctl
