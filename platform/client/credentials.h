#pragma once

#include <sys/types.h>

namespace vadro::cfg
{

/// Whether a process of that user may be the configuration service: root, our own effective user, or the user that the
/// build names for the service. The socket stands in a folder where anyone may create one. May block as long as the
/// user database does.
[[nodiscard]] bool isTrustedUser(uid_t a_uiUser);

} // namespace vadro::cfg
