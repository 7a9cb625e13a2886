#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

[[nodiscard]] bool hasPlaceholder(const std::string& a_strTemplate, std::string_view a_strPlaceholder);

/// The placeholders of an update URL as the daemon knows them. Pure.
[[nodiscard]] std::vector<std::string> getPlaceholders();

/// Why the transfer library or the daemon would not take this as an update URL: no https:// or http:// in front, no
/// host, an unknown placeholder, a character that a URL cannot hold, a '#' (what follows is never sent).
/// Empty if there is no fault. The text contains no part of the URL but placeholders. Pure.
[[nodiscard]] std::string findUrlFault(const std::string& a_strTemplate, const std::vector<std::string>& a_oAllowed);

/// The URL up to its query. Pure.
[[nodiscard]] std::string urlBase(const std::string& a_strUrl);
/// The host of a URL, without user and port. Pure.
[[nodiscard]] std::string urlHost(const std::string& a_strUrl);

/// Everything but letters, digits and "-._~" as %XX. Pure.
[[nodiscard]] std::string percentEncode(std::string_view a_strText);

} // namespace cfgctl
