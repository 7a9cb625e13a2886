#pragma once

#include <stdexcept>

namespace quorvad
{

/// The daemon's one exception type: a kind of failure with a fixed text. Thrown by value, caught by reference; what()
/// points to constant text that lives for the whole run.
class Error : public std::runtime_error
{
public:
    enum Type : int
    {
        ResolvConfLoadFailed = 0,
        CurlEasyInitFailed = 1,
        CurlEasyPerformFailed = 2,
        CurlEasyGetinfoFailed = 3,
        CurlGlobalInitFailed = 4,
        GnudipDomainTooShort = 5,
        AresLibInitFailed = 6,
        AresChannelInitFailed = 7,
        EmptyNameserverList = 8
    };

    explicit Error(Type a_eType);
    ~Error() override;

    [[nodiscard]] const char* what() const noexcept override;

    Type m_eType;
};

} // namespace quorvad
