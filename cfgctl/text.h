#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cfgctl
{

/// The columns that a text without control characters takes on a terminal: none for combining marks, two for East Asian
/// wide characters and pictographs, one for an invalid byte. Independent of the locale. Pure.
[[nodiscard]] std::size_t displayWidth(std::string_view a_strText);

/// The text, cut to a_uiWidth columns with "…" at the end if it is wider. Pure.
[[nodiscard]] std::string cutToWidth(std::string_view a_strText, std::size_t a_uiWidth);

/// The text in lines of at most a_uiWidth columns, broken at blanks; a longer word has a line of its own. Lines after
/// the first are indented by a_uiIndent blanks. 0: one line. Without a line end. Pure.
[[nodiscard]] std::string wrapWords(std::string_view a_strText, std::size_t a_uiWidth, std::size_t a_uiIndent = 0);

/// The texts that a_oText gives for the elements of a list, with a separator between them.
template<typename List, typename Text>
[[nodiscard]] std::string join(const List& a_oList, const char* a_pSeparator, const Text& a_oText)
{
    std::string strResult;
    for (const auto& oElement : a_oList)
    {
        strResult += (strResult.empty() ? "" : a_pSeparator) + std::string(a_oText(oElement));
    }
    return strResult;
}

/// Texts, with a separator between them.
template<typename List>
[[nodiscard]] std::string join(const List& a_oTexts, const char* a_pSeparator)
{
    return join(a_oTexts, a_pSeparator, [](const std::string& a_strText) { return a_strText; });
}

/// "none" instead of an empty text. Pure.
[[nodiscard]] std::string orNone(const std::string& a_strText);

} // namespace cfgctl
