#pragma once

#include <array>
#include <string>

namespace quorvad
{

/// The placeholders of an update URL in the order of replacement: a value that contains a later placeholder has that
/// one replaced as well.
inline constexpr std::array<const char*, 6> g_apPlaceholders = {
    "<ipaddr>", "<ipaddr6>", "<domain>", "<username>", "<password>", "<serial>"};

/// Their values.
struct UrlValues
{
    std::string m_strIpAddr;
    std::string m_strIpAddr6;
    std::string m_strDomain;
    std::string m_strUsername;
    std::string m_strPassword;
    std::string m_strSerialNo;
};

/// Replaces every occurrence literally. Pure.
[[nodiscard]] std::string fillPlaceholders(const std::string& a_strTemplate, const UrlValues& a_oValues);

} // namespace quorvad
