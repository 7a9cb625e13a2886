#pragma once

#include <cstdint>
#include <string>

namespace quorvad
{

inline constexpr std::uint16_t g_uiGnudipPort = 3495;
/// The code of an accepted update.
inline constexpr int g_iGnudipSuccess = 0;
/// The code of an attempt whose answer is missing or unreadable; no server sends it.
inline constexpr int s_iGnudipConnectionError = 999;

enum class EGnudipAnswer
{
    eCode,      ///< a number that fits an int
    eNoNumber,  ///< no digits to read
    eOutOfRange ///< a number beyond int
};

// Pure functions on texts, which may be anything.

/// The MD5 digest as 32 lowercase hexadecimal digits.
[[nodiscard]] std::string md5Hex(const std::string& a_strText);

/// True if the user name is a proper prefix of the host name.
[[nodiscard]] bool isUserPartOfHost(const std::string& a_strUsername, const std::string& a_strHostname);

/// The received salt without trailing line feeds and carriage returns.
[[nodiscard]] std::string trimSalt(std::string a_strReceived);

/// What is hashed for the request: the password's digest, a dot, the salt.
[[nodiscard]] std::string makeHashInput(const std::string& a_strPassword, const std::string& a_strSalt);

/// The request without its line feed. The host name must be longer than the user name (isUserPartOfHost).
[[nodiscard]] std::string
makeGnudipRequest(const std::string& a_strUsername, const std::string& a_strHash, const std::string& a_strHostname);

/// Reads the leading decimal number (white space, a sign, digits; anything after them is ignored) into a_iCode, which
/// changes only for eCode.
[[nodiscard]] EGnudipAnswer parseGnudipAnswer(const std::string& a_strAnswer, int& a_iCode);

/// Constant text that lives for the whole run.
[[nodiscard]] const char* gnudipResponseText(int a_iCode);

} // namespace quorvad
