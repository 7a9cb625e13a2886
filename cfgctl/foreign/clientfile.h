#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The accounts in the configuration files of other dynamic DNS clients.
namespace cfgctl
{

/// The order counts: getFormats' names are in it.
enum class Format
{
    Inadyn,
    Ddclient,
    OpenWrt
};

/// One name that the other client keeps up to date; empty texts are not in the file.
struct ForeignAccount
{
    unsigned m_uiLine = 0; ///< where its section, or the line that names the host, begins
    std::string m_strHost;
    std::string m_strService; ///< as that client calls the provider, or the provider's server
    std::string m_strUrl;     ///< a template with our placeholders, if the file describes the update itself
    std::string m_strUser;
    std::string m_strPassword;
    std::string m_strInterface;
    std::optional<std::string> m_strExpect; ///< of m_strUrl
    std::optional<std::string> m_strUnchanged;
    bool m_bEnabled = true;
    bool m_bIPv4 = true;
    bool m_bIPv6 = false;
    std::string m_strObstacle; ///< why the file does not tell enough
};

struct ClientFile
{
    std::vector<ForeignAccount> m_oAccounts;
    std::vector<std::string> m_oNotes; ///< what was not followed, with the line
};

constexpr std::size_t g_uiClientFileBytes = 1024UL * 1024UL;
constexpr std::size_t g_uiForeignAccounts = 1000;
constexpr std::size_t g_uiForeignText = 2000; ///< bytes of a value

/// What --format takes.
[[nodiscard]] const std::vector<std::string>& getFormats();

/// The accounts of a file in its order, by the rules of a_strFormat or, if that is empty, of the client that the
/// content is recognised to be of. No other file is opened. Pure; time and memory are a small multiple of the input and
/// of the limits above. Throws Failure with the line and the reason; the text never contains a value of the file.
[[nodiscard]] ClientFile parseClientFile(std::string_view a_strBytes, const std::string& a_strFormat);

// The client of each format; a_strBytes as checked by parseClientFile.
[[nodiscard]] ClientFile parseInadyn(std::string_view a_strBytes);
[[nodiscard]] ClientFile parseDdclient(std::string_view a_strBytes);
[[nodiscard]] ClientFile parseOpenWrt(std::string_view a_strBytes);

} // namespace cfgctl
