#pragma once

#include "platform/wire/message.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace cfgserver
{

/// A request that is not carried out: the result code of its reply, and a text that says what was refused and why.
class Refusal : public std::runtime_error
{
public:
    Refusal(wire::Result a_eResult, const std::string& a_strText) : std::runtime_error(a_strText), m_eResult(a_eResult)
    {
    }

    [[nodiscard]] wire::Result getResult() const { return m_eResult; }

private:
    wire::Result m_eResult;
};

/// A name or key from a client as an error text shows it: in single quotes, control bytes visible, cut to 64 bytes.
std::string quoted(std::string_view a_strText);

} // namespace cfgserver
