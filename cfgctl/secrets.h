#pragma once

#include "cfgctl/tablejson.h"

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// What is shown in the place of a secret.
constexpr std::string_view g_strHidden = "********";

/// The value as it may be shown, by the secrecy that the schema gives its column: a password that is not empty is
/// hidden whole; of an update URL, what identifies the user before '@' and every part of the query that is not just
/// placeholders, since providers put keys there. A key in a URL's path cannot be told from a path. Everything else
/// stays. Pure.
[[nodiscard]] std::string
hideSecret(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue);

/// An update URL as hideSecret shows it, with those parts left that occur in one of the published templates. Pure.
[[nodiscard]] std::string hideTemplate(const std::string& a_strTemplate, const std::vector<std::string>& a_oPublic);

/// Hides the secrets of a table's rows in place. Pure.
void hideSecrets(const std::string& a_strTable, Rows& a_oRows);

/// True for a value of a column with secrets in which something was hidden. Pure.
[[nodiscard]] bool
hasHiddenPart(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue);

} // namespace cfgctl
