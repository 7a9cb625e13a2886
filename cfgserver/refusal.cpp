#include "cfgserver/refusal.h"

#include "platform/base/escape.h"

namespace cfgserver
{

namespace
{
constexpr std::size_t s_uiShownBytes = 64;
}

std::string quoted(std::string_view a_strText)
{
    // Appended piece by piece: of a sum, GCC 12 believes at -O3 that its pieces overlap.
    std::string strQuoted(1, '\'');
    strQuoted += platform::escape(a_strText, s_uiShownBytes);
    strQuoted += '\'';
    return strQuoted;
}

} // namespace cfgserver
