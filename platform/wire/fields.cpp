#include "platform/wire/fields.h"

#include "platform/wire/frame.h"

namespace wire
{

namespace
{

[[noreturn]] void refuse(const char* a_pName, const char* a_pProblem)
{
    throw DecodeError(std::string(a_pName) + " " + a_pProblem);
}

bool neverCopy(msgpack::type::object_type, std::size_t, void*)
{
    return true;
}

// message, rows, row, column
constexpr unsigned g_uiMaxDepth = 4;

/// Stops the parser (false) at the first thing that a message cannot contain, and remembers what it was.
class ShapeVisitor : public msgpack::null_visitor
{
public:
    explicit ShapeVisitor(std::size_t a_uiPayloadSize) : m_uiUnclaimed(a_uiPayloadSize) {}

    bool visit_boolean(bool) { return refuse("a boolean"); }
    bool visit_float32(float) { return refuse("a floating point number"); }
    bool visit_float64(double) { return refuse("a floating point number"); }
    bool visit_bin(const char*, std::uint32_t) { return refuse("binary data"); }
    bool visit_ext(const char*, std::uint32_t) { return refuse("an extension"); }
    bool start_map(std::uint32_t) { return refuse("a map"); }

    bool start_array(std::uint32_t a_uiCount)
    {
        // Every element takes a byte at least, so all arrays together cannot promise more than there are bytes.
        if (a_uiCount > m_uiUnclaimed)
        {
            return refuse("more array elements promised than there are bytes");
        }
        m_uiUnclaimed -= a_uiCount;
        m_uiElements += a_uiCount; // bounded by the payload's bytes, so it cannot wrap
        if (m_uiElements > g_uiMaxElements)
        {
            return refuse("more array elements than a message may have");
        }
        return ++m_uiDepth <= g_uiMaxDepth || refuse("arrays nested too deeply");
    }
    bool end_array()
    {
        --m_uiDepth;
        return true;
    }

    void parse_error(std::size_t, std::size_t) { refuse("a byte unknown to MessagePack"); }
    void insufficient_bytes(std::size_t, std::size_t) { refuse("cut off"); }

    [[nodiscard]] const char* reason() const { return m_pReason; }

private:
    bool refuse(const char* a_pReason)
    {
        if (m_pReason == nullptr)
        {
            m_pReason = a_pReason;
        }
        return false;
    }

    std::size_t m_uiUnclaimed;
    std::size_t m_uiElements = 0;
    unsigned m_uiDepth = 0;
    const char* m_pReason = nullptr;
};

/// Stores nothing.
void checkShape(std::string_view a_strPayload)
{
    ShapeVisitor oVisitor(a_strPayload.size());
    std::size_t uiOffset = 0;
    const bool bWhole = msgpack::parse(a_strPayload.data(), a_strPayload.size(), uiOffset, oVisitor);
    if (oVisitor.reason() != nullptr || !bWhole)
    {
        throw DecodeError(std::string("malformed message: ") +
                          (oVisitor.reason() != nullptr ? oVisitor.reason() : "not MessagePack"));
    }
    if (uiOffset != a_strPayload.size())
    {
        throw DecodeError("malformed message: " + std::to_string(a_strPayload.size() - uiOffset) +
                          " bytes after its end");
    }
}

} // namespace

msgpack::object_handle parse(std::string_view a_strPayload)
{
    checkShape(a_strPayload);
    try
    {
        return msgpack::unpack(a_strPayload.data(), a_strPayload.size(), neverCopy);
    }
    catch (const msgpack::unpack_error& e)
    {
        throw DecodeError(std::string("malformed message: ") + e.what());
    }
}

Fields::Fields(const msgpack::object& a_oArray, const char* a_pName, std::uint32_t a_uiLeast, std::uint32_t a_uiMost)
{
    if (a_oArray.type != msgpack::type::ARRAY)
    {
        refuse(a_pName, "is not an array");
    }
    m_pElements = a_oArray.via.array.ptr;
    m_uiCount = a_oArray.via.array.size;
    if (m_uiCount < a_uiLeast || m_uiCount > a_uiMost)
    {
        refuse(a_pName, "has a wrong number of elements");
    }
}

std::uint32_t Fields::number(const char* a_pName)
{
    return takeAs<std::uint32_t>(a_pName, "is not an unsigned 32-bit number");
}

int Fields::integer(const char* a_pName)
{
    return takeAs<std::int32_t>(a_pName, "is not a signed 32-bit number");
}

std::string Fields::text(const char* a_pName)
{
    return takeAs<std::string>(a_pName, "is not a text");
}

void Fields::nothing(const char* a_pName)
{
    takeAs<msgpack::type::nil_t>(a_pName, "is not nil");
}

Fields Fields::array(const char* a_pName, std::uint32_t a_uiLeast, std::uint32_t a_uiMost)
{
    return Fields(take(a_pName), a_pName, a_uiLeast, a_uiMost);
}

const msgpack::object& Fields::take(const char* a_pName)
{
    if (atEnd())
    {
        refuse(a_pName, "is missing");
    }
    return m_pElements[m_uiNext++];
}

template<typename Plain>
Plain Fields::takeAs(const char* a_pName, const char* a_pProblem)
{
    try
    {
        return take(a_pName).as<Plain>();
    }
    catch (const msgpack::type_error&)
    {
        refuse(a_pName, a_pProblem);
    }
}

} // namespace wire
