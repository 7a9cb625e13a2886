#pragma once

#include <ares.h>

namespace quorvad
{

/// Waits once for the channel's sockets, at most until c-ares's next timeout, and lets c-ares handle what happened;
/// completion handlers run inside. False, without waiting, if no query is active on the channel.
///
/// Descriptors may have any number. c-ares reports at most ARES_GETSOCK_MAXNUM (16) sockets of a channel, one per
/// server asked so far; answers of further servers are not heard, but their timeouts still end the query.
[[nodiscard]] bool driveChannelOnce(ares_channel a_pChannel);

} // namespace quorvad
