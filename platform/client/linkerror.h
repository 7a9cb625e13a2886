#pragma once

#include "platform/wire/message.h"

#include <stdexcept>
#include <string>

namespace vadro::cfg
{

/// The connection can't be used any more: the result for the call that met it, and the reason in a few words.
/// NoAccess says that the service's user is not trusted; the reason is then that user's number.
class LinkError : public std::runtime_error
{
public:
    LinkError(wire::Result a_eResult, const std::string& a_strReason)
        : std::runtime_error(a_strReason), m_eResult(a_eResult)
    {
    }
    [[nodiscard]] wire::Result getResult() const { return m_eResult; }

private:
    wire::Result m_eResult;
};

} // namespace vadro::cfg
