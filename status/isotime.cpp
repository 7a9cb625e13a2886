#include "status/isotime.h"

#include <array>
#include <ctime>

namespace quorvad
{

std::string currentTimeToIsoFormat()
{
    timespec oNow{};
    clock_gettime(CLOCK_REALTIME, &oNow);
    tzset(); // localtime_r alone reads the zone only once per process
    tm oLocal{};
    localtime_r(&oNow.tv_sec, &oLocal);
    std::array<char, 64> acText{};
    const std::size_t uiLength = std::strftime(acText.data(), acText.size(), "%FT%T%z", &oLocal);
    return {acText.data(), uiLength};
}

} // namespace quorvad
