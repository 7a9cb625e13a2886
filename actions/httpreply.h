#pragma once

#include <optional>
#include <string>

namespace quorvad
{

/// What a provider's HTTP answer means for the update.
enum class EHttpVerdict
{
    eStatusOk,      ///< accepted: no text was expected and the status is 200
    eStatusRefused, ///< no text was expected and the status is not 200
    eEmptyBody,     ///< a text was expected and the body is empty
    eTextFound,     ///< accepted: the expected text is in the body
    eUnchanged,     ///< accepted: the text that says that the provider had the address already is in the body
    eTextMissing    ///< a text was expected, and neither it nor the one for an unchanged address is in the body
};

/// The texts by which an accepting body is known.
struct AcceptingTexts
{
    std::string m_strExpected;  ///< empty: the status decides, whatever the other text
    std::string m_strUnchanged; ///< empty: none
};

// Pure functions on a reply's bytes, which may be anything.

/// Removes every line feed; carriage returns and zero bytes stay.
void removeLineFeeds(std::string& a_strBody);
/// The body's first 100 bytes, for the log.
[[nodiscard]] std::string shortExcerpt(const std::string& a_strBody);
/// The body's first 200 bytes with the five special characters of HTML escaped, for the result table, which a web page
/// may show.
[[nodiscard]] std::string reportExcerpt(const std::string& a_strBody);
/// Undoes the escaping of reportExcerpt; other entities stay as they are.
[[nodiscard]] std::string unescapeHtml(const std::string& a_strEscaped);
/// @param a_strBody without its line feeds
[[nodiscard]] EHttpVerdict judgeReply(long a_iStatus, const std::string& a_strBody, const AcceptingTexts& a_oTexts);
/// Whether the provider accepted the update.
[[nodiscard]] bool isAccepted(EHttpVerdict a_eVerdict);
/// The verdict on an attempt of which only the log row is left. Nothing if the excerpt was cut and neither text is in
/// it: the outcome is unknown then. An attempt without an answer was refused.
/// @param a_iStatus 0 for an attempt without an answer
/// @param a_strExcerpt as reportExcerpt made it
[[nodiscard]] std::optional<EHttpVerdict>
judgeExcerpt(long a_iStatus, const std::string& a_strExcerpt, const AcceptingTexts& a_oTexts);

} // namespace quorvad
