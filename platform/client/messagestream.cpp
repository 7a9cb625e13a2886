#include "platform/client/messagestream.h"

#include "platform/client/linkerror.h"

namespace vadro::cfg
{

std::optional<wire::Message> MessageStream::take()
{
    std::string strPayload;
    switch (m_oReader.next(strPayload))
    {
    case wire::FrameReader::State::NeedMore:
        return std::nullopt;
    case wire::FrameReader::State::Broken:
        throw LinkError(wire::Result::Garbled,
                        "unreadable: a frame of " + std::to_string(m_oReader.getRefusedLength()) + " bytes announced");
    case wire::FrameReader::State::Payload:
        break;
    }
    try
    {
        return wire::decode(strPayload);
    }
    catch (const wire::DecodeError& e)
    {
        throw LinkError(wire::Result::Garbled, std::string("unreadable: ") + e.what());
    }
}

} // namespace vadro::cfg
