#pragma once

namespace korrin::protocol
{

/// Result of a client operation: 0 is success, every other value is a failure.
class EResultCode
{
public:
    EResultCode(unsigned int a_uiCode = 0) : m_uiCode(a_uiCode) {} // NOLINT(google-explicit-constructor): kit interface
    operator unsigned int() const { return m_uiCode; }             // NOLINT(google-explicit-constructor): kit interface

private:
    unsigned int m_uiCode;
};

} // namespace korrin::protocol
