#pragma once

#include <msgpack.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace wire
{

/// The objects of a payload; texts stay in the payload, which must outlive them. Throws DecodeError unless it is
/// exactly one MessagePack array that nests no deeper and promises no more elements than a message can have, and holds
/// nothing but arrays, integers, texts and nil. At most one object of 24 bytes is made per payload byte.
[[nodiscard]] msgpack::object_handle parse(std::string_view a_strPayload);

/// Reads the elements of one array in order, each with the type that the caller expects. Every operation names what it
/// reads and throws DecodeError with that name, and never with the content, when the element is missing or another.
class Fields
{
public:
    Fields(const msgpack::object& a_oArray, const char* a_pName, std::uint32_t a_uiLeast, std::uint32_t a_uiMost);

    [[nodiscard]] std::uint32_t left() const { return m_uiCount - m_uiNext; }
    [[nodiscard]] bool atEnd() const { return left() == 0; }

    std::uint32_t number(const char* a_pName);
    int integer(const char* a_pName);
    std::string text(const char* a_pName);
    void nothing(const char* a_pName);
    Fields array(const char* a_pName, std::uint32_t a_uiLeast, std::uint32_t a_uiMost);

private:
    const msgpack::object& take(const char* a_pName);
    template<typename Plain>
    Plain takeAs(const char* a_pName, const char* a_pProblem);

    const msgpack::object* m_pElements;
    std::uint32_t m_uiCount;
    std::uint32_t m_uiNext = 0;
};

} // namespace wire
