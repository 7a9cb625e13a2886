#include "cfgctl/timestamp.h"

#include "platform/common/values.h"

#include <algorithm>
#include <charconv>
#include <climits>

namespace cfgctl
{

namespace
{

/// Whether a text has a form such as "dddd-dd-dd", in which 'd' is any digit and every other character is itself.
bool matches(std::string_view a_strText, std::string_view a_strForm)
{
    return std::equal(a_strText.begin(),
                      a_strText.end(),
                      a_strForm.begin(),
                      a_strForm.end(),
                      [](char a_cText, char a_cForm)
                      { return a_cForm == 'd' ? a_cText >= '0' && a_cText <= '9' : a_cText == a_cForm; });
}

/// The number at a place where the text has that many digits.
int numberAt(std::string_view a_strText, std::size_t a_uiPosition, std::size_t a_uiDigits)
{
    int iValue = 0;
    std::from_chars(a_strText.data() + a_uiPosition, a_strText.data() + a_uiPosition + a_uiDigits, iValue);
    return iValue;
}

bool isInRange(const std::tm& a_oTime)
{
    return a_oTime.tm_mon >= 0 && a_oTime.tm_mon < 12 && a_oTime.tm_mday >= 1 && a_oTime.tm_mday <= 31 &&
           a_oTime.tm_hour < 24 && a_oTime.tm_min < 60 && a_oTime.tm_sec <= 60;
}

} // namespace

std::optional<std::time_t> parseTimestamp(std::string_view a_strText)
{
    // By hand: what strptime accepts differs between C libraries.
    if (!matches(a_strText, "dddd-dd-ddTdd:dd:dd+dddd") && !matches(a_strText, "dddd-dd-ddTdd:dd:dd-dddd"))
    {
        return std::nullopt;
    }
    std::tm oTime{};
    oTime.tm_year = numberAt(a_strText, 0, 4) - 1900;
    oTime.tm_mon = numberAt(a_strText, 5, 2) - 1;
    oTime.tm_mday = numberAt(a_strText, 8, 2);
    oTime.tm_hour = numberAt(a_strText, 11, 2);
    oTime.tm_min = numberAt(a_strText, 14, 2);
    oTime.tm_sec = numberAt(a_strText, 17, 2);
    if (!isInRange(oTime))
    {
        return std::nullopt;
    }
    const int iOffset = numberAt(a_strText, 20, 2) * 3600 + numberAt(a_strText, 22, 2) * 60;
    return timegm(&oTime) - (a_strText[19] == '-' ? -iOffset : iOffset);
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

bool isAhead(std::time_t a_iAge)
{
    return a_iAge < -5;
}

std::string describeAge(std::time_t a_iSeconds)
{
    if (isAhead(a_iSeconds))
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
