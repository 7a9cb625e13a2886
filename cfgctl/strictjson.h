#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace cfgctl
{

using Json = nlohmann::ordered_json;

/// What a file may hold; memory stays within a small multiple of it, and time linear.
struct JsonLimits
{
    std::size_t m_uiBytes;
    std::size_t m_uiDepth;  ///< 1: a list or object of plain values
    std::size_t m_uiValues; ///< numbers, texts, lists and objects
};

/// A file's JSON as a tree, names in the file's order. Refuses what the parser itself would let pass: a NUL byte, which
/// it takes for the end, a name that an object has twice, of which it would keep the last, and what is past the limits.
/// Pure. Throws Failure with the place and the reason; the text never holds a value of the file.
[[nodiscard]] Json parseStrictJson(std::string_view a_strBytes, const JsonLimits& a_oLimits);

} // namespace cfgctl
