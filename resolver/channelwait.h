#pragma once

#include <ares.h>

namespace quorvad
{

/// Waits once for the channel's sockets, for at most the time to c-ares's next time-out, and lets c-ares handle what
/// happened; completion handlers run inside. False, and nothing done, when no query is active on the channel.
///
/// Descriptors of any number are fine. c-ares names at most ARES_GETSOCK_MAXNUM (16) sockets of a channel, one per
/// server asked so far; answers of servers beyond these aren't heard, but their time-outs still end the query.
[[nodiscard]] bool driveChannelOnce(ares_channel a_pChannel);

} // namespace quorvad
