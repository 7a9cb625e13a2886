#include "platform/wire/fields.h"

#include "platform/wire/message.h"

#include <limits>

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

} // namespace

ObjectTree::ObjectTree(std::string_view a_strPayload)
{
    try
    {
        std::size_t uiOffset = 0;
        bool bReferenced = false;
        m_oRoot = msgpack::unpack(m_oZone, a_strPayload.data(), a_strPayload.size(), uiOffset, bReferenced, neverCopy);
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
        refuse(a_pName, "is no array");
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
    const msgpack::object& oElement = take(a_pName);
    if (oElement.type != msgpack::type::POSITIVE_INTEGER ||
        oElement.via.u64 > std::numeric_limits<std::uint32_t>::max())
    {
        refuse(a_pName, "is no unsigned 32-bit number");
    }
    return static_cast<std::uint32_t>(oElement.via.u64);
}

int Fields::integer(const char* a_pName)
{
    const msgpack::object& oElement = take(a_pName);
    if (oElement.type == msgpack::type::POSITIVE_INTEGER &&
        oElement.via.u64 <= std::numeric_limits<std::int32_t>::max())
    {
        return static_cast<int>(oElement.via.u64);
    }
    if (oElement.type == msgpack::type::NEGATIVE_INTEGER &&
        oElement.via.i64 >= std::numeric_limits<std::int32_t>::min())
    {
        return static_cast<int>(oElement.via.i64);
    }
    refuse(a_pName, "is no signed 32-bit number");
}

std::string Fields::text(const char* a_pName)
{
    const msgpack::object& oElement = take(a_pName);
    if (oElement.type != msgpack::type::STR)
    {
        refuse(a_pName, "is no text");
    }
    return std::string(oElement.via.str.ptr, oElement.via.str.size);
}

void Fields::nothing(const char* a_pName)
{
    if (take(a_pName).type != msgpack::type::NIL)
    {
        refuse(a_pName, "has a content");
    }
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

} // namespace wire
