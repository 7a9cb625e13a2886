// The bytes of a connection as either end reads them, in pieces: split into payloads, and decoded.
#include "platform/wire/frame.h"
#include "platform/wire/message.h"
#include "tests/fuzz/fuzz.h"

namespace
{

void decodeOne(const std::string& a_strPayload)
{
    std::string strAgain;
    try
    {
        strAgain = wire::encode(wire::decode(a_strPayload));
    }
    catch (const wire::DecodeError&)
    {
        return;
    }
    require(wire::encode(wire::decode(strAgain)) == strAgain);
}

} // namespace

void fuzz(std::string_view a_strInput)
{
    wire::FrameReader oReader;
    std::string strPayload;
    for (; !a_strInput.empty(); a_strInput.remove_prefix(std::min<std::size_t>(a_strInput.size(), 7)))
    {
        oReader.feed(a_strInput.data(), std::min<std::size_t>(a_strInput.size(), 7));
        while (oReader.next(strPayload) == wire::FrameReader::State::Payload)
        {
            decodeOne(strPayload);
        }
    }
}
