#include "platform/wire/kind.h"
#include "platform/wire/message.h"

#include <msgpack.hpp>

namespace wire
{

namespace
{

struct Sink
{
    void write(const char* a_pData, std::size_t a_uiSize) { m_strBytes.append(a_pData, a_uiSize); }
    std::string m_strBytes;
};

using Packer = msgpack::packer<Sink>;

template<typename List>
void packHeader(Packer& a_oPacker, const List& a_oList)
{
    a_oPacker.pack_array(static_cast<std::uint32_t>(a_oList.size()));
}

void packContent(Packer& a_oPacker, const korrin::Value& a_oValue)
{
    switch (a_oValue.getType())
    {
    case korrin::eValueNull:
        a_oPacker.pack_nil();
        break;
    case korrin::eValueInteger:
        a_oPacker.pack(a_oValue.getInteger());
        break;
    case korrin::eValueText:
        a_oPacker.pack(a_oValue.getText());
        break;
    default:
        throw std::invalid_argument("A value of type " + std::to_string(a_oValue.getType()) + " can't be sent.");
    }
}

void packRow(Packer& a_oPacker, const korrin::ValueList& a_oRow)
{
    packHeader(a_oPacker, a_oRow);
    for (const auto& [strName, oValue] : a_oRow)
    {
        a_oPacker.pack_array(g_uiColumnSize);
        a_oPacker.pack(strName);
        a_oPacker.pack(oValue.getType());
        packContent(a_oPacker, oValue);
    }
}

void packNames(Packer& a_oPacker, const korrin::NameList& a_oNames)
{
    packHeader(a_oPacker, a_oNames);
    for (const std::string& strName : a_oNames)
    {
        a_oPacker.pack(strName);
    }
}

void pack(Packer& a_oPacker, const Request& a_oRequest)
{
    a_oPacker.pack_array(g_uiRequestSize);
    a_oPacker.pack(g_uiKindRequest);
    a_oPacker.pack(a_oRequest.m_uiSequence);
    a_oPacker.pack(static_cast<std::uint32_t>(a_oRequest.m_eOperation));
    a_oPacker.pack(a_oRequest.m_uiNumber);
    a_oPacker.pack(a_oRequest.m_strTable);
    a_oPacker.pack(a_oRequest.m_strKeyColumn);
    a_oPacker.pack(a_oRequest.m_strKeyValue);
    packNames(a_oPacker, a_oRequest.m_oNames);
    packRow(a_oPacker, a_oRequest.m_oValues);
}

void pack(Packer& a_oPacker, const Reply& a_oReply)
{
    a_oPacker.pack_array(g_uiReplySize);
    a_oPacker.pack(g_uiKindReply);
    a_oPacker.pack(a_oReply.m_uiSequence);
    a_oPacker.pack(static_cast<std::uint32_t>(a_oReply.m_eResult));
    a_oPacker.pack(a_oReply.m_strError);
    a_oPacker.pack(a_oReply.m_uiNumber);
    packHeader(a_oPacker, a_oReply.m_oRows);
    for (const korrin::ValueList& oRow : a_oReply.m_oRows)
    {
        packRow(a_oPacker, oRow);
    }
    packNames(a_oPacker, a_oReply.m_oNames);
}

void pack(Packer& a_oPacker, const Notification& a_oNotification)
{
    a_oPacker.pack_array(g_uiNotificationSize);
    a_oPacker.pack(g_uiKindNotification);
    a_oPacker.pack(a_oNotification.m_strTable);
}

} // namespace

std::string encode(const Message& a_oMessage)
{
    Sink oSink;
    Packer oPacker(oSink);
    std::visit([&](const auto& a_oContent) { pack(oPacker, a_oContent); }, a_oMessage);
    return std::move(oSink.m_strBytes);
}

} // namespace wire
