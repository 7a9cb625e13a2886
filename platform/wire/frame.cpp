#include "platform/wire/frame.h"

#include <arpa/inet.h>

namespace wire
{

namespace
{

// An emptied buffer larger than this is freed, so that one large frame does not cost memory for good.
constexpr std::size_t g_uiKeptCapacity = 64UL * 1024UL;
// Taken bytes are cut off only in pieces of this size, so that many small frames do not move the rest each time.
constexpr std::size_t g_uiCutSize = 16UL * 1024UL;

std::uint32_t readPrefix(std::string_view a_strBytes)
{
    std::uint32_t uiLength = 0;
    a_strBytes.copy(reinterpret_cast<char*>(&uiLength), g_uiPrefixSize);
    return ntohl(uiLength);
}

} // namespace

std::string encodeFrame(std::string_view a_strPayload)
{
    if (a_strPayload.empty() || a_strPayload.size() > g_uiMaxPayload)
    {
        throw std::length_error("A message of " + std::to_string(a_strPayload.size()) +
                                " bytes does not fit a frame (1 to " + std::to_string(g_uiMaxPayload) + ").");
    }
    std::string strFrame;
    strFrame.reserve(g_uiPrefixSize + a_strPayload.size());
    const std::uint32_t uiLength = htonl(static_cast<std::uint32_t>(a_strPayload.size()));
    strFrame.append(reinterpret_cast<const char*>(&uiLength), g_uiPrefixSize);
    strFrame.append(a_strPayload);
    return strFrame;
}

void FrameReader::feed(const char* a_pData, std::size_t a_uiSize)
{
    if (!m_bBroken)
    {
        m_bBroken = true; // should the next line throw
        m_strBuffer.append(a_pData, a_uiSize);
        m_bBroken = false;
    }
}

FrameReader::State FrameReader::next(std::string& a_strPayload)
{
    if (m_bBroken)
    {
        return State::Broken;
    }
    const std::string_view strHeld = std::string_view(m_strBuffer).substr(m_uiConsumed);
    if (strHeld.size() < g_uiPrefixSize)
    {
        return State::NeedMore;
    }
    const std::uint32_t uiLength = readPrefix(strHeld);
    if (uiLength == 0 || uiLength > g_uiMaxPayload)
    {
        refuse(uiLength);
        return State::Broken;
    }
    if (strHeld.size() - g_uiPrefixSize < uiLength)
    {
        return State::NeedMore;
    }
    a_strPayload.assign(strHeld.substr(g_uiPrefixSize, uiLength));
    consume(g_uiPrefixSize + uiLength);
    return State::Payload;
}

void FrameReader::consume(std::size_t a_uiSize)
{
    m_uiConsumed += a_uiSize;
    if (m_uiConsumed == m_strBuffer.size())
    {
        m_strBuffer.clear();
        m_uiConsumed = 0;
        if (m_strBuffer.capacity() > g_uiKeptCapacity)
        {
            m_strBuffer.shrink_to_fit();
        }
    }
    else if (m_uiConsumed >= g_uiCutSize && m_uiConsumed >= m_strBuffer.size() / 2)
    {
        m_strBuffer.erase(0, m_uiConsumed);
        m_uiConsumed = 0;
    }
}

void FrameReader::refuse(std::uint32_t a_uiLength)
{
    m_bBroken = true;
    m_uiRefusedLength = a_uiLength;
    m_strBuffer.clear();
    m_strBuffer.shrink_to_fit();
    m_uiConsumed = 0;
}

} // namespace wire
