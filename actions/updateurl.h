#pragma once

#include <array>
#include <string>

namespace quorvad
{

inline constexpr char Placeholder_IpAddr[] = "<ipaddr>";
inline constexpr char Placeholder_IpAddr6[] = "<ipaddr6>";
inline constexpr char Placeholder_Domain[] = "<domain>";
inline constexpr char Placeholder_Username[] = "<username>";
inline constexpr char Placeholder_Password[] = "<password>";
inline constexpr char Placeholder_Serial[] = "<serial>";

/// The placeholders of an update URL in the order of replacement: a value that contains a later placeholder has that
/// one replaced as well.
inline constexpr std::array<const char*, 6> g_apPlaceholders = {Placeholder_IpAddr,
                                                                Placeholder_IpAddr6,
                                                                Placeholder_Domain,
                                                                Placeholder_Username,
                                                                Placeholder_Password,
                                                                Placeholder_Serial};

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
