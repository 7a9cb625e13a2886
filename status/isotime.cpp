#include "status/isotime.h"

#include "platform/common/localtime.h"

namespace quorvad
{

std::string currentTimeToIsoFormat()
{
    timespec oNow{};
    clock_gettime(CLOCK_REALTIME, &oNow);
    return platform::formatLocalTime(oNow.tv_sec, platform::g_acIsoFormat);
}

} // namespace quorvad
