#pragma once

#include "cfgctl/tablejson.h"

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// What is shown instead of a secret.
constexpr std::string_view g_strHidden = "********";

/// The value as it may be shown, by its column's secrecy in the schema. A password is hidden whole unless empty. In an
/// update URL, the password or key before '@' is hidden, and so is every query value that is not just placeholders,
/// since providers put keys there. A key in the path cannot be told from the path. Pure.
[[nodiscard]] std::string
hideSecret(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue);

/// An update URL as hideSecret shows it, but with the parts that also occur in a published template. Pure.
[[nodiscard]] std::string hideTemplate(const std::string& a_strTemplate, const std::vector<std::string>& a_oPublic);

/// Hides the secrets of a table's rows in place. Pure.
void hideSecrets(const std::string& a_strTable, Rows& a_oRows);

/// Whether something is hidden in the value of a secret column. Pure.
[[nodiscard]] bool
hasHiddenPart(const std::string& a_strTable, const std::string& a_strColumn, const std::string& a_strValue);

} // namespace cfgctl
