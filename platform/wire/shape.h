#pragma once

#include <string_view>

namespace wire
{

/// Checks, without storing anything, that a payload is exactly one MessagePack array that nests no deeper and promises
/// no more elements than a message can have, and holds nothing but arrays, integers, texts and nil. Throws DecodeError.
void checkShape(std::string_view a_strPayload);

} // namespace wire
