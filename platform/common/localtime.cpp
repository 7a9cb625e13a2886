#include "platform/common/localtime.h"

#include <array>

namespace platform
{

std::string formatLocalTime(std::time_t a_iTime, const char* a_pFormat)
{
    tm oLocal{};
    localtime_r(&a_iTime, &oLocal);
    std::array<char, 64> acText{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the formats are constants of the callers
    const std::size_t uiLength = std::strftime(acText.data(), acText.size(), a_pFormat, &oLocal);
#pragma GCC diagnostic pop
    return {acText.data(), uiLength};
}

} // namespace platform
