#pragma once

#include <cstdint>

namespace wire
{

/// First element of every message, and how many elements a message of that kind has, the kind included. Numbers on the
/// wire.
constexpr std::uint32_t g_uiKindRequest = 1;
constexpr std::uint32_t g_uiKindReply = 2;
constexpr std::uint32_t g_uiKindNotification = 3;
constexpr std::uint32_t g_uiRequestSize = 9;
constexpr std::uint32_t g_uiReplySize = 7;
constexpr std::uint32_t g_uiNotificationSize = 2;
/// A column: name, type code, content (nil, integer or text, as the type says).
constexpr std::uint32_t g_uiColumnSize = 3;

} // namespace wire
