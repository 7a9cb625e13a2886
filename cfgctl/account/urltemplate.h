#pragma once

#include <map>
#include <optional>
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

/// What stands in a URL in the place of a template's placeholders; nothing if the URL differs from the template
/// anywhere else. A value ends where a part of a URL does. Pure.
[[nodiscard]] std::optional<std::map<std::string, std::string>>
matchTemplate(const std::string& a_strTemplate, const std::string& a_strUrl, const std::vector<std::string>& a_oNames);

/// Everything but letters, digits and "-._~" as %XX. Pure.
[[nodiscard]] std::string percentEncode(std::string_view a_strText);
/// The reverse; a '%' that encodes nothing stays. Pure.
[[nodiscard]] std::string percentDecode(std::string_view a_strText);

} // namespace cfgctl
