#include "platform/client/credentials.h"

#include <array>

#include <pwd.h>
#include <unistd.h>

namespace vadro::cfg
{

bool isTrustedUser(uid_t a_uiUser)
{
    if (a_uiUser == 0 || a_uiUser == geteuid())
    {
        return true;
    }
    passwd oEntry{};
    passwd* pFound = nullptr;
    std::array<char, 4096> acStrings;
    const int iError = getpwnam_r(QUORVAD_SERVICE_USER, &oEntry, acStrings.data(), acStrings.size(), &pFound);
    return iError == 0 && pFound != nullptr && pFound->pw_uid == a_uiUser;
}

} // namespace vadro::cfg
