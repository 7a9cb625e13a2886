#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace wire
{

/// Largest payload of one frame, bytes, in either direction.
constexpr std::size_t g_uiMaxPayload = 1024UL * 1024UL;
/// Most names in one list and most columns in one row of a message.
constexpr std::uint32_t g_uiMaxColumns = 1024;
/// Most array elements in one message, whatever they are: a payload of a million tiny ones would take eighty times its
/// size in memory.
constexpr std::uint32_t g_uiMaxElements = 64U * 1024U;
/// Bytes of the length prefix: the payload's length as an unsigned 32-bit number, most significant byte first.
constexpr std::size_t g_uiPrefixSize = 4;

/// A payload that is not a message: what was wrong with it.
class DecodeError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Prefixes a payload with its length. Throws std::length_error when it is empty or larger than g_uiMaxPayload.
std::string encodeFrame(std::string_view a_strPayload);

/// Cuts a byte stream into payloads. Pure: no I/O, no clock. Holds at most one frame and what was fed behind it.
class FrameReader
{
public:
    enum class State
    {
        NeedMore, ///< no whole payload yet
        Payload,  ///< a_strPayload was filled
        Broken    ///< a length of 0 or beyond the limit, or bytes lost; the rest cannot be read
    };

    /// Throws std::bad_alloc; with a hole the rest would be cut in wrong places, so it is Broken then.
    void feed(const char* a_pData, std::size_t a_uiSize);
    /// Takes the next payload out. Broken is final.
    [[nodiscard]] State next(std::string& a_strPayload);
    /// The refused length, for the log line after Broken.
    [[nodiscard]] std::uint32_t getRefusedLength() const { return m_uiRefusedLength; }
    /// Bytes held and not yet taken.
    [[nodiscard]] std::size_t getBuffered() const { return m_strBuffer.size() - m_uiConsumed; }

private:
    void consume(std::size_t a_uiSize);
    void refuse(std::uint32_t a_uiLength);

    std::string m_strBuffer;
    std::size_t m_uiConsumed = 0;
    std::uint32_t m_uiRefusedLength = 0;
    bool m_bBroken = false;
};

} // namespace wire
