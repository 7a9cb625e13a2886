#include "platform/wire/message.h"

#include "platform/common/values.h"
#include "platform/wire/fields.h"

#include <array>
#include <type_traits>

namespace wire
{

namespace
{

// How many elements a message has, its kind included. The kind, the first element of every message, is the position in
// Message counted from 1. Numbers on the wire.
constexpr std::array<std::uint32_t, std::variant_size_v<Message>> g_auiSizes = {9, 7, 2};

/// A column: name, type code, content (nil, integer or text, as the type says).
constexpr std::uint32_t g_uiColumnSize = 3;

// The fields of each kind in the order of the wire, for both directions: the archive writes or reads one after the
// other. Content is const for writing.

template<typename Archive, typename Content>
void visitFields(Archive& a_oArchive, Content& a_oContent)
{
    using Plain = std::remove_const_t<Content>;
    if constexpr (std::is_same_v<Plain, Request>)
    {
        a_oArchive("request sequence", a_oContent.m_uiSequence);
        a_oArchive("request operation", a_oContent.m_eOperation);
        a_oArchive("request number", a_oContent.m_uiNumber);
        a_oArchive("request table", a_oContent.m_strTable);
        a_oArchive("request key column", a_oContent.m_strKeyColumn);
        a_oArchive("request key value", a_oContent.m_strKeyValue);
        a_oArchive("request names", a_oContent.m_oNames);
        a_oArchive("request values", a_oContent.m_oValues);
    }
    else if constexpr (std::is_same_v<Plain, Reply>)
    {
        a_oArchive("reply sequence", a_oContent.m_uiSequence);
        a_oArchive("reply result", a_oContent.m_eResult);
        a_oArchive("reply error", a_oContent.m_strError);
        a_oArchive("reply number", a_oContent.m_uiNumber);
        a_oArchive("reply rows", a_oContent.m_oRows);
        a_oArchive("reply names", a_oContent.m_oNames);
    }
    else
    {
        a_oArchive("notification table", a_oContent.m_strTable);
    }
}

struct Sink
{
    void write(const char* a_pData, std::size_t a_uiSize) { m_strBytes.append(a_pData, a_uiSize); }
    std::string m_strBytes;
};

/// Writes fields; the names are the reader's.
class Writer
{
public:
    Writer(Sink& a_oSink, std::size_t a_uiKind) : m_oPacker(a_oSink)
    {
        m_oPacker.pack_array(g_auiSizes.at(a_uiKind));
        m_oPacker.pack(a_uiKind + 1);
    }

    void operator()(const char*, std::uint32_t a_uiNumber) { m_oPacker.pack(a_uiNumber); }
    void operator()(const char*, Operation a_eOperation) { m_oPacker.pack(static_cast<std::uint32_t>(a_eOperation)); }
    void operator()(const char*, Result a_eResult) { m_oPacker.pack(static_cast<std::uint32_t>(a_eResult)); }
    void operator()(const char*, const std::string& a_strText) { m_oPacker.pack(a_strText); }
    void operator()(const char*, const korrin::NameList& a_oNames)
    {
        m_oPacker.pack(static_cast<const std::list<std::string>&>(a_oNames));
    }
    void operator()(const char*, const korrin::ValueList& a_oRow)
    {
        packHeader(a_oRow);
        for (const auto& [strName, oValue] : a_oRow)
        {
            m_oPacker.pack_array(g_uiColumnSize);
            m_oPacker.pack(strName);
            m_oPacker.pack(oValue.getType());
            packContent(oValue);
        }
    }
    void operator()(const char* a_pName, const std::list<korrin::ValueList>& a_oRows)
    {
        packHeader(a_oRows);
        for (const korrin::ValueList& oRow : a_oRows)
        {
            (*this)(a_pName, oRow);
        }
    }

private:
    template<typename List>
    void packHeader(const List& a_oList)
    {
        m_oPacker.pack_array(static_cast<std::uint32_t>(a_oList.size()));
    }
    void packContent(const korrin::Value& a_oValue);

    msgpack::packer<Sink> m_oPacker;
};

void Writer::packContent(const korrin::Value& a_oValue)
{
    switch (a_oValue.getType())
    {
    case korrin::eValueNull:
        m_oPacker.pack_nil();
        break;
    case korrin::eValueInteger:
        m_oPacker.pack(a_oValue.getInteger());
        break;
    case korrin::eValueText:
        m_oPacker.pack(a_oValue.getText());
        break;
    default:
        throw std::invalid_argument("A value of type " + std::to_string(a_oValue.getType()) + " cannot be sent.");
    }
}

korrin::Value toValue(Fields& a_oColumn)
{
    switch (const std::uint32_t uiType = a_oColumn.number("column type"))
    {
    case korrin::eValueNull:
        a_oColumn.nothing("null column");
        return korrin::Value(korrin::eValueNull, 0);
    case korrin::eValueInteger:
        return platform::integer(a_oColumn.integer("integer column"));
    case korrin::eValueText:
        return platform::text(a_oColumn.text("text column"));
    default:
        throw DecodeError("column type " + std::to_string(uiType) + " is not known");
    }
}

korrin::ValueList toRow(Fields a_oColumns)
{
    korrin::ValueList oRow;
    while (!a_oColumns.atEnd())
    {
        Fields oColumn = a_oColumns.array("column", g_uiColumnSize, g_uiColumnSize);
        std::string strName = oColumn.text("column name");
        oRow.emplace_back(std::move(strName), toValue(oColumn));
    }
    return oRow;
}

/// Reads fields; each throws DecodeError with its name when it is not what it should be.
class Reader
{
public:
    explicit Reader(Fields& a_oFields) : m_oFields(a_oFields) {}

    void operator()(const char* a_pName, std::uint32_t& a_uiNumber) { a_uiNumber = m_oFields.number(a_pName); }
    void operator()(const char* a_pName, Operation& a_eOperation)
    {
        a_eOperation = code(a_pName, "operation", Operation::Hello, Operation::GetDigest);
    }
    void operator()(const char* a_pName, Result& a_eResult)
    {
        a_eResult = code(a_pName, "result", Result::Ok, Result::TooLarge);
    }
    void operator()(const char* a_pName, std::string& a_strText) { a_strText = m_oFields.text(a_pName); }
    void operator()(const char* a_pName, korrin::NameList& a_oNames)
    {
        for (Fields oTexts = m_oFields.array(a_pName, 0, g_uiMaxColumns); !oTexts.atEnd();)
        {
            a_oNames.push_back(oTexts.text("name"));
        }
    }
    void operator()(const char* a_pName, korrin::ValueList& a_oRow)
    {
        a_oRow = toRow(m_oFields.array(a_pName, 0, g_uiMaxColumns));
    }
    void operator()(const char* a_pName, std::list<korrin::ValueList>& a_oRows)
    {
        for (Fields oRows = m_oFields.array(a_pName, 0, g_uiMaxPayload); !oRows.atEnd();)
        {
            a_oRows.push_back(toRow(oRows.array("row", 0, g_uiMaxColumns)));
        }
    }

private:
    template<typename Code>
    Code code(const char* a_pName, const char* a_pWhat, Code a_eFirst, Code a_eLast)
    {
        const std::uint32_t uiNumber = m_oFields.number(a_pName);
        if (uiNumber < static_cast<std::uint32_t>(a_eFirst) || uiNumber > static_cast<std::uint32_t>(a_eLast))
        {
            throw DecodeError(std::string(a_pWhat) + " " + std::to_string(uiNumber) + " is not known");
        }
        return static_cast<Code>(uiNumber);
    }

    Fields& m_oFields;
};

} // namespace

std::string encode(const Message& a_oMessage)
{
    Sink oSink;
    Writer oWriter(oSink, a_oMessage.index());
    std::visit([&](const auto& a_oContent) { visitFields(oWriter, a_oContent); }, a_oMessage);
    return std::move(oSink.m_strBytes);
}

Message decode(std::string_view a_strPayload)
{
    // An empty message of each kind, to be filled.
    static const std::array<Message, g_auiSizes.size()> s_aoEmpty = {Request(), Reply(), Notification()};
    const msgpack::object_handle oTree = parse(a_strPayload);
    Fields oFields(oTree.get(), "message", 1, g_auiSizes[0] + g_auiSizes[1]);
    const std::uint32_t uiCount = oFields.left();
    const std::uint32_t uiKind = oFields.number("message kind");
    if (uiKind < 1 || uiKind > g_auiSizes.size() || uiCount != g_auiSizes[uiKind - 1])
    {
        throw DecodeError("message kind " + std::to_string(uiKind) + " with " + std::to_string(uiCount) +
                          " elements is not known");
    }
    Message oMessage = s_aoEmpty[uiKind - 1];
    Reader oReader(oFields);
    std::visit([&](auto& a_oContent) { visitFields(oReader, a_oContent); }, oMessage);
    return oMessage;
}

} // namespace wire
