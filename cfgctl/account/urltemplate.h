#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cfgctl
{

/// Placeholder and value, in the order in which they are filled in: a value that holds a later placeholder would have
/// that one filled in as well.
using Replacements = std::vector<std::pair<std::string, std::string>>;

/// The placeholders that the daemon fills in, in its order.
[[nodiscard]] const std::vector<std::string>& getPlaceholders();

[[nodiscard]] bool hasPlaceholder(const std::string& a_strTemplate, std::string_view a_strPlaceholder);

/// Replaces every occurrence; what was put in isn't looked at again. Pure.
[[nodiscard]] std::string
replaceAll(const std::string& a_strText, std::string_view a_strWhat, std::string_view a_strWith);

/// Fills them in one after the other, as the daemon does. Pure.
[[nodiscard]] std::string fillIn(std::string a_strTemplate, const Replacements& a_oReplacements);

/// Why the transfer library or the daemon would not take this as an update URL: no https:// or http:// in front, no
/// host, a placeholder that nobody fills in, a character that a URL can't hold, a '#' (what follows is never sent).
/// Empty when nothing speaks against it. The text holds no part of the URL but placeholders. Pure.
[[nodiscard]] std::string findUrlFault(const std::string& a_strTemplate, const std::vector<std::string>& a_oAllowed);

/// The URL up to its query. Pure.
[[nodiscard]] std::string urlBase(const std::string& a_strUrl);
/// The host of a URL, without port and what identifies a user. Pure.
[[nodiscard]] std::string urlHost(const std::string& a_strUrl);

/// Everything but letters, digits and "-._~" as %XX. Pure.
[[nodiscard]] std::string percentEncode(std::string_view a_strText);

} // namespace cfgctl
