#pragma once

#include <array>
#include <string>

namespace quorvad
{

/// The placeholders of an update URL in the order in which they are filled in: a value that holds a later placeholder
/// has that one filled in as well.
inline constexpr std::array<const char*, 6> g_apPlaceholders = {
    "<ipaddr>", "<ipaddr6>", "<domain>", "<username>", "<password>", "<serial>"};

/// What they are filled with.
struct UrlValues
{
    std::string m_strIpAddr;
    std::string m_strIpAddr6;
    std::string m_strDomain;
    std::string m_strUsername;
    std::string m_strPassword;
    std::string m_strSerialNo;
};

/// Puts the values in as they are, every occurrence. Pure.
[[nodiscard]] std::string fillPlaceholders(const std::string& a_strTemplate, const UrlValues& a_oValues);

} // namespace quorvad
