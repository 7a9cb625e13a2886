#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace cfgctl
{

using Json = nlohmann::ordered_json;

/// Limits of a file. Memory stays within a small multiple of the size, and time is linear.
struct JsonLimits
{
    std::size_t m_uiBytes;
    std::size_t m_uiDepth;  ///< 1: a list or object of plain values
    std::size_t m_uiValues; ///< numbers, texts, lists and objects
};

/// A file's JSON as a tree, names in the file's order. Rejects what the parser itself accepts: a NUL byte, which it
/// takes for the end of the file, a name given twice in one object, of which it keeps the last, and anything beyond the
/// limits. Pure. Throws Failure with the place and the reason; the text never contains a value of the file.
[[nodiscard]] Json parseStrictJson(std::string_view a_strBytes, const JsonLimits& a_oLimits);

} // namespace cfgctl
