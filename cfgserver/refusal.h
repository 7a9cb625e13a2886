#pragma once

#include "platform/base/escape.h"
#include "platform/wire/message.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace cfgserver
{

/// Why a request was refused: the result code of its reply and a text with what and why.
class Refusal : public std::runtime_error
{
public:
    Refusal(wire::Result a_eResult, const std::string& a_strText) : std::runtime_error(a_strText), m_eResult(a_eResult)
    {
    }

    [[nodiscard]] wire::Result getResult() const { return m_eResult; }

private:
    wire::Result m_eResult;
};

/// A client's name or key for an error text: in single quotes, escaped, cut to 64 bytes.
inline std::string quoted(std::string_view a_strText)
{
    constexpr std::size_t uiShownBytes = 64;
    // Appended piece by piece: of a sum, GCC 12 believes at -O3 that its pieces overlap.
    std::string strQuoted(1, '\'');
    strQuoted += platform::escape(a_strText, uiShownBytes);
    strQuoted += '\'';
    return strQuoted;
}

} // namespace cfgserver
