#include "cfgctl/timestamp.h"

#include "platform/common/localtime.h"
#include "platform/common/values.h"

#include <algorithm>
#include <array>
#include <climits>

namespace cfgctl
{

std::optional<std::time_t> parseTimestamp(std::string_view a_strText)
{
    const std::string strText(a_strText);
    std::tm oTime{};
    std::array<char, 32> oBack{}; // strptime accepts more than the one form
    if (strptime(strText.c_str(), platform::g_acIsoFormat, &oTime) == nullptr ||
        strText !=
            std::string_view(oBack.data(), strftime(oBack.data(), oBack.size(), platform::g_acIsoFormat, &oTime)))
    {
        return std::nullopt;
    }
    const long iOffset = oTime.tm_gmtoff;
    return timegm(&oTime) - iOffset;
}

std::string describeSpan(std::time_t a_iSeconds)
{
    const std::time_t iMinutes = a_iSeconds / 60;
    const std::time_t iHours = iMinutes / 60;
    const auto count = [](std::time_t a_iNumber, const char* a_pUnit)
    { return std::to_string(a_iNumber) + " " + a_pUnit + (a_iNumber == 1 ? "" : "s"); };
    if (iMinutes == 0)
    {
        return count(a_iSeconds, "second");
    }
    if (iHours == 0)
    {
        return count(iMinutes, "minute");
    }
    return iHours < 48 ? count(iHours, "hour") : count(iHours / 24, "day");
}

std::string describeAge(std::time_t a_iSeconds)
{
    if (a_iSeconds < -5)
    {
        return describeSpan(-a_iSeconds) + " ahead of this clock";
    }
    return a_iSeconds < 60 ? "just now" : describeSpan(a_iSeconds) + " ago";
}

korrin::Value ageOf(std::string_view a_strTimestamp, std::time_t a_iNow)
{
    const auto oTime = parseTimestamp(a_strTimestamp);
    if (!oTime)
    {
        return {korrin::eValueNull, 0};
    }
    return platform::integer(static_cast<int>(std::clamp<std::time_t>(a_iNow - *oTime, INT_MIN, INT_MAX)));
}

} // namespace cfgctl
